// fyndle: searches the files of a folder tree for a text pattern.
#include "cmdline.h"

int main(int argc, char **argv)
{
    return RunFyndle(argc, argv);
}
