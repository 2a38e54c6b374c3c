// Folders for the walk: opening a path of any length, telling whether a
// path survives the trip through wide text, and reading a folder once for
// the files that fit each mask and the subfolders to walk into.
#pragma once

#include <string>
#include <vector>

// What one reading of a folder gives the walk.
struct FolderListing {
    std::vector<std::vector<std::string>> files; // per mask: the names of the files that fit it, in listing order
    std::vector<std::string> folders;            // visible subfolders' names as stored, in listing order
    std::vector<bool> foldersRoundTrip;          // per subfolder: its name survives the trip through wide text
};

// Opens path (relative to dirFd, or absolute) of any length by opening it
// a piece at a time, each piece ending at a '/'; flags apply to the last
// piece. -1 on failure.
int OpenLongPath(int dirFd, const std::string &path, int flags);

// Whether text comes back the same from wide text; when it does not and
// changed is not null, *changed is what comes back (empty: nothing).
bool RoundTrips(const char *text, std::string *changed);

// Reads the folder open as fd once, from where its read position stands
// (so a descriptor is read only once). Files are the regular files whose
// names do not start with '.', tested against each of masks (wide) as wide
// text and kept as that text converted back, as the library's listing by
// mask gives them; with listFolders, the subfolders not starting with '.'
// by their stored names. buffer (size bytes) holds the raw entries. A
// folder that cannot be read lists what was read before the failure.
void ReadFolder(int fd, const std::vector<std::wstring> &masks, bool listFiles, bool listFolders, char *buffer,
                size_t size, FolderListing *listing);
