// The file scanner against a model of the plain design it must print alike: 5120-byte reads cut after a newline, a
// folded copy matched byte by byte, the rest carried; the scanner reads large chunks and widens the pattern instead.
#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <random>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <string>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>
#include <vector>

#include "capture.h"
#include "fyndle.h"
#include "output.h"
#include "pattern.h"
#include "scanner.h"

static size_t s_readCap = 0;
static off_t s_readFailsFrom = -1;
static bool s_readEndsEarly = false, s_appendWhileRead = false;

// The C library's read stood in for, as a kernel file's may go: at most s_readCap bytes (0: as asked); from
// s_readFailsFrom on (-1: never) failing, or giving nothing (a file cut short); another program appending after each.
extern "C" ssize_t read(int fd, void *buffer, size_t count)
{
    const off_t at = s_readFailsFrom >= 0 ? lseek(fd, 0, SEEK_CUR) : 0;
    if (at >= s_readFailsFrom && s_readFailsFrom >= 0) {
        errno = EINVAL;
        return s_readEndsEarly ? 0 : -1;
    }
    count = s_readFailsFrom >= 0 ? std::min(count, static_cast<size_t>(s_readFailsFrom - at)) : count;
    const auto got = syscall(SYS_read, fd, buffer, s_readCap != 0 && count > s_readCap ? s_readCap : count);
    if (s_appendWhileRead && got > 0) {
        EXPECT_TRUE(std::ofstream("/proc/self/fd/" + std::to_string(fd), std::ios::app) << "ab\n" << std::flush);
    }
    return got;
}

namespace {

// The design's window and cut, written here again so that a change to the scanner's own constants shows.
constexpr int kModelWindow = 5120, kModelCutFrom = 4801;

// The model's own reading of the pattern, for the syntax its cases use: plain text; under -r '.', '^', '$', sets with
// ranges and '^', the suffixes '*' and '+', "\\~" refusing the next byte, "\\(" ignored.
enum class Kind { One, Star, Plus, Maybe };
struct Element {
    std::bitset<256> accepts; // before refusal
    Kind kind = Kind::One;    // how many bytes it takes
    bool refused = false;     // accepts every byte but those
};
std::vector<Element> s_elements;
unsigned char s_first = 0; // the byte element 0 must be, when it is a literal (or '^')

void modelRead(const std::string &text, bool regExp)
{
    s_elements.clear(), s_first = 0;
    for (size_t i = 0; i < text.size();) {
        Element e;
        unsigned char ch = static_cast<unsigned char>(text[i++]);
        bool literal = true, suffix = regExp;
        if (regExp && ch == '\\' && text[i] != 0 && std::strchr("{}()!", text[i])) {
            ++i;
            continue;
        }
        if (regExp && ch == '.') {
            for (int byte = 32; byte <= 254; ++byte)
                e.accepts.set(static_cast<size_t>(byte));
            literal = suffix = false;
        } else if (regExp && ch == '$') {
            e.accepts.set('\r'), e.kind = Kind::Maybe, s_elements.push_back(e);
            e = Element{}, e.accepts.set('\n'), literal = suffix = false;
        } else if (regExp && ch == '[') {
            e.refused = text[i] == '^';
            for (i += e.refused, literal = false; i < text.size() && text[i] != ']'; ++i) {
                const unsigned char from = static_cast<unsigned char>(text[i]);
                const bool range = text[i + 1] == '-' && i + 2 < text.size() && text[i + 2] != ']';
                for (int byte = from; byte <= (range ? static_cast<unsigned char>(text[i + 2]) : from); ++byte)
                    e.accepts.set(static_cast<size_t>(byte));
                i += range; // the range's last byte is read again as an item
            }
            i += i < text.size();
        } else if (regExp && ch == '\\' && text[i] == '~') {
            e.accepts.set(static_cast<unsigned char>(text[i + 1])), i += 2, e.refused = true, literal = false;
        } else {
            const bool anchor = regExp && ch == '^';
            ch = regExp && ch == '\\' ? static_cast<unsigned char>(text[i++]) : anchor ? '\n' : ch;
            e.accepts.set(ch), suffix = regExp && !anchor;
        }
        if (suffix && i < text.size() && (text[i] == '*' || text[i] == '+'))
            e.kind = text[i++] == '*' ? Kind::Star : Kind::Plus;
        if (s_elements.empty() && literal)
            s_first = ch;
        s_elements.push_back(e);
    }
}

// One attempt from element k at pos. A refused '+' fails: past element 0 it never matches, as element 0 it is one byte.
enum class Step { Success, Fail, RanOut };
Step modelAttempt(const unsigned char *buf, int len, int pos, size_t k, int *end)
{
    if (pos >= len)
        return Step::RanOut;
    for (;;) {
        const Element &e = s_elements[k];
        const bool accepted = e.accepts[buf[pos]] != e.refused;
        if (!accepted && e.kind == Kind::Plus)
            return Step::Fail;
        if (!accepted && e.kind == Kind::One)
            return ++pos >= len ? Step::RanOut : Step::Fail;
        if (!accepted || (e.kind != Kind::Star && e.kind != Kind::Plus))
            ++k;
        if (k == s_elements.size()) {
            *end = pos + 1;
            return Step::Success;
        }
        if (accepted && ++pos >= len)
            return Step::RanOut;
    }
}

// Searches one window byte by byte; adds what it consumed to *offset.
int modelSearch(const char *name, const unsigned char *buf, int len, int64_t *offset, int64_t *line,
                const unsigned char *print, bool word, std::string &out)
{
    auto wordByte = [](unsigned char byte) { return byte == '_' || std::isalnum(byte); };
    auto delimiter = [](unsigned char byte) { return byte == 0 || byte == '\n' || byte == '\r'; };
    int reports = 0, p = 0, stop = len;
    char head[64];
    while (len > 0) {
        int start = p, end = 0;
        if (s_first) {
            while (start < len && buf[start] != s_first)
                *line += buf[start++] == '\n';
            if (start >= len)
                break;
            *line += buf[start] == '\n';
        } else if (p >= len) {
            break;
        }
        const Step step = !s_first                 ? modelAttempt(buf, len, p, 0, &end)
                          : s_elements.size() == 1 ? (end = start + 1, Step::Success)
                                                   : modelAttempt(buf, len, start + 1, 1, &end);
        if (step == Step::Fail) {
            p = start + 1;
            continue;
        }
        if (step == Step::RanOut) {
            stop = s_first ? start + 1 : start;
            break;
        }
        const int64_t lineAtStart = *line;
        for (int q = s_first ? start + 1 : start; q < end; ++q)
            *line += buf[q] == '\n';
        if (word && ((start > 0 && wordByte(buf[start - 1])) || (end < len && wordByte(buf[end])))) {
            p = end;
            continue;
        }
        ++reports;
        const char *text = reinterpret_cast<const char *>(print);
        int from = start, to = end;
        if (g_fBinary) {
            to = start + static_cast<int>(strnlen(text + start, size_t(end - start)));
            std::snprintf(head, sizeof head, " (%#lx): ", static_cast<long>(*offset + start));
        } else {
            from = delimiter(buf[start]) ? start + 1 : start;
            while (from > 0 && !delimiter(buf[from - 1]) && !delimiter(buf[start]))
                --from;
            for (to = from; to < len && !delimiter(buf[to]);)
                ++to;
            std::snprintf(head, sizeof head, " (%lld): ", static_cast<long long>(lineAtStart + 1));
        }
        if (name)
            out += std::string(name) + head + std::string(text + from, size_t(to - from)) + '\n';
        p = g_fBinary ? end : to;
    }
    *offset += stop;
    return reports;
}

// The plain design over a whole file: one read per window, the cut, the folded copy, the carry.
std::string modelFile(const std::string &content, const std::string &path)
{
    unsigned char buf[kModelWindow], copy[kModelWindow];
    std::string out;
    int carried = 0;
    size_t readPos = 0;
    int64_t offset = 0, line = 0, total = 0;
    while (offset < static_cast<int64_t>(content.size())) {
        const size_t want = static_cast<size_t>(kModelWindow - carried);
        const size_t end = s_readFailsFrom >= 0 ? std::min(content.size(), size_t(s_readFailsFrom)) : content.size();
        const size_t got = std::min({want, s_readCap != 0 ? s_readCap : want, end - readPos});
        if (got == 0)
            break;
        std::memcpy(buf + carried, content.data() + readPos, got);
        readPos += got;
        const int n = carried + static_cast<int>(got);
        const void *cut = n > kModelCutFrom ? memrchr(buf + kModelCutFrom, '\n', size_t(n - kModelCutFrom)) : nullptr;
        const int searched = cut ? static_cast<int>(static_cast<const unsigned char *>(cut) - buf) + 1 : n;
        std::memcpy(copy, buf, static_cast<size_t>(searched));
        for (int i = 0; i < searched && !g_fMatchCase; ++i)
            buf[i] = static_cast<unsigned char>(std::tolower(buf[i]));
        const int64_t before = offset;
        total += modelSearch(g_fFileNamesOnly ? nullptr : path.c_str(), buf, searched, &offset, &line, copy,
                             g_fMatchWord, out);
        const int64_t consumed = offset - before;
        const int64_t leftover = std::max<int64_t>(0, searched - consumed - (consumed == 0));
        carried = static_cast<int>(leftover) + (n - searched);
        std::memmove(buf, buf + (searched - leftover), static_cast<size_t>(carried));
    }
    if (g_fFileNamesOnly && total > 0)
        out += path + " : " + std::to_string(total) + " occurrence" + (total == 1 ? "" : "s") + ".\n";
    return out;
}

const std::string s_file = testing::TempDir() + "fyndle-model-" + std::to_string(getpid()) + ".txt";

// Writes content to s_file and scans it as the tool does (pattern null: counting its lines, under -l).
int64_t scan(const CompiledPattern *pattern, const std::string &content)
{
    std::ofstream(s_file, std::ios::binary) << content;
    OrderedOutput output;
    OutputSink sink(output);
    FileSearcher searcher(pattern, sink, output.FailedFlag());
    const int64_t result = ScanOpenFile(searcher, OpenFileAt(AT_FDCWD, s_file.c_str()), s_file.c_str());
    std::remove(s_file.c_str());
    return result;
}

std::string repeated(const std::string &text, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

// Option letters: r regular expression, b binary, c case-sensitive, w word, f file names only.
void expectSame(const std::string &options, std::string pattern, const std::string &content)
{
    auto has = [&](char letter) { return options.find(letter) != std::string::npos; };
    g_fBinary = has('b'), g_fMatchCase = has('c'), g_fRegExp = has('r');
    g_fMatchWord = has('w'), g_fFileNamesOnly = has('f'), g_fCountLines = 0;
    std::string folded = pattern;
    for (char &ch : folded)
        ch = g_fMatchCase ? ch : static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    modelRead(folded, g_fRegExp);
    const std::string want = modelFile(content, s_file);
    static CompiledPattern compiled;
    PreparePattern(pattern.data(), g_fRegExp, g_fMatchCase, &compiled);
    StdoutCapture capture;
    scan(&compiled, content);
    ASSERT_EQ(capture.take(), want) << "pattern '" << folded << "' options " << options << " size " << content.size();
}

TEST(ScannerModel, LongFilesWithCutsCarriesAndFolding)
{
    std::mt19937 rng(20261122);
    // Few letters, so that matches and near-matches are frequent; longLines has no newline, so its line spans windows.
    const std::string shortLines = "abAB_ \n\n\r\x01\xe9", longLines = "abcABC_-.";
    const char *plainPatterns[] = {"ab", "a", "Ab", "bA", "ab_", "\n", "aaa", "b b"};
    const char *regExpPatterns[] = {
        "a.b",     "ab*",          "[ab]b",  "^ab",     "ab$",        "[^a]b", "a\\~bB",     "b+a",         ".*a",
        "[a-b]*b", "a$b",          "\\(ab",  "[ab]+",   "^",          "$",     "\\~a[^b]A",  "[ab][^_]b",   "a[ab]*_b",
        "b[^_]*_", "a[a-c]*\\~b_", "[ab]*_", "a[^_]*b", "[ab]a[ ]*b", "[ ]*$", "[ab][^_]*_", "[ab][^\n]*\n"};
    for (int round = 0; round < 300; ++round) {
        const bool regExp = round % 2 == 1;
        const std::string options = std::string(regExp ? "r" : "") + ((round / 2) % 2 ? "b" : "") +
                                    ((round / 4) % 3 ? "" : "c") + ((round / 12) % 2 ? "w" : "") +
                                    (round % 7 ? "" : "f");
        const char *pattern = regExp ? regExpPatterns[rng() % std::size(regExpPatterns)]
                                     : plainPatterns[rng() % std::size(plainPatterns)];
        std::string content(1 + rng() % 30000, ' ');
        const std::string &alphabet = round % 5 == 4 ? longLines : shortLines;
        for (std::uniform_int_distribution<size_t> pick(0, alphabet.size() - 1); char &ch : content)
            ch = alphabet[pick(rng)];
        s_readCap = round % 3 == 1 ? 1000 + rng() % 9000 : 0;
        expectSame(options, pattern, content);
        s_readCap = 0;
    }
    // A first byte every 100 bytes of one long line: windows passed over hop to the one cut at its end, searched whole.
    std::string hops(9999, 'a');
    for (size_t at = 0; at < hops.size(); at += 100)
        hops[at] = 'x';
    expectSame("r", "x[^_]*_$", hops.append("_\n").append(6000, 'b').append("\n"));
    // A binary report of 19 carried bytes, folded by the window that searched them: an 'A' past the first block.
    expectSame("rb", "[a][a-c]*d",
               std::string(4700, 'x').append("\n").append(400, 'x').append("a").append(16, 'b').append("Abbbbd\n"));
    // Starts in a range of letters in both cases and a third range: the lines' classified walk keeps all three.
    expectSame("r", "[ab~][^_]*_", "zz~zz_\nzzbz_\nzz~_\n");
    expectSame("rc", "[a-cA-B][^_]*_", "zzCzz_\nzzbz_\n"); // not the same letters in both cases
    // The stuck path fails at the next first byte, past a window without one: that window is searched, the match found.
    expectSame("r", "x[a-w]*_q", std::string("x").append(5120, 'a').append("xab_q\n"));
    // A first byte past what every window holds, told one window at a time: consuming it too hid its path's match.
    expectSame("r", "x[^_]*_", std::string("x").append(4900, 'a').append("x").append(1098, 'a').append("_\n"));
    // The first byte is the newline: a window passed over would stop after one, uncounted.
    expectSame("r", "^[^_]*_", repeated("ab\n", 2000).append("_\n"));
    // A read that fails or gives nothing ends the file there, as its end would; under -l too.
    for (const bool endsEarly : {false, true}) {
        s_readFailsFrom = 7000, s_readEndsEarly = endsEarly;
        expectSame("", "ab", std::string(6000, 'x') + "ab\n" + std::string(3000, 'x') + "ab\n");
        g_fCountLines = 1; // until the next expectSame
        EXPECT_EQ(scan(nullptr, std::string(8000, '\n')), 7000);
    }
    // What is appended after the open is not searched: the size taken then ends the file.
    s_readFailsFrom = -1, s_appendWhileRead = true;
    expectSame("", "ab", std::string(6000, 'x') + "ab\n");
    s_appendWhileRead = false;
    // Lines longer than a window, a candidate at the end: carried bytes were folded by the window that searched them
    // (mixed case shows it). An attempt from a window's first byte running off its end consumes nothing: it moves on
    // one byte, to one holding what decides (a match, a refused byte, the end). Newlines past the cut shorten some;
    // where element 0 takes one byte, windows stop at the next.
    const std::string letters = repeated("abcdEFGH", 1500);
    const std::string carried = std::string(5117, 'x') + "ABCABD\n", plain = std::string(12000, 'a') + "q\nxaq\n";
    const std::string cut = letters.substr(0, 7000) + "\n" + letters.substr(0, 3000) + "Q tail\n";
    const std::string refused = letters.substr(0, 9000) + "qy" + letters.substr(0, 3000) + "qz" + "ab\n";
    const std::string atEnd = letters + "_q", xyz = std::string(5117, '-') + "XYZXYW\n";
    // The window after the one at the 'a' has its newline at its cut: the next line prints from its start, not 'e'.
    std::string atCut(1, 'a');
    atCut.append(4801, 'x').append("\n").append(100, 'y').append("e").append(296, 'y').append("q\n");
    // Newlines a first-byte scan passes count late: a window ending in a first byte that fails in the next counts once.
    const std::string tenLines = repeated("xxxxxxxxx\n", 912);
    const std::string lateLines = tenLines + std::string(1117, 'x') + "zebX\n" + tenLines + "zebra\n";
    // Lines of first bytes only: each window passed over one at a time consumes nothing and moves on by one.
    const std::string firstBytes = repeated(std::string(2000, 'a').append("\n"), 4).append("q\n");
    const std::tuple<std::vector<const char *>, const char *, const std::string &> cases[] = {
        {{"r"}, "[ab][^q]*q", firstBytes}, {{"", "b"}, "zebra", lateLines},
        {{"", "b"}, "abd", carried},       {{""}, "xyw", xyz},
        {{"rb", "r"}, "[^q]*q", plain},    {{"r", "rbc"}, "[^q]*q", cut},
        {{"rb"}, "[^q]*qz", refused},      {{"rf"}, "[a-z]+q", cut},
        {{"rb", "rw"}, "[a-z]*_q", atEnd}, {{"rb", "r", "rw"}, "[ae][^q]*q", cut},
        {{"rb"}, "[ae][^q]*qz", refused},  {{"rbc"}, "[ae][a-z]*_q", atEnd},
        {{"rb"}, "[ab][^_]*_q", atEnd},    {{"r"}, "[ae][^q]*q", atCut},
        {{"r"}, "[ae][^q]*q", refused},
    };
    for (const auto &[options, pattern, content] : cases)
        for (const char *option : options)
            expectSame(option, pattern, content);
    // A newline just before the cut's first place does not cut the window, one at it does.
    for (size_t newline : {4800, 4801})
        expectSame("b", "needle", std::string(newline, 'x') + "\n" + std::string(5116 - newline, 'x') + "needle");
}

// A name the kernel's caches lack (most of /proc's are made when asked for) is opened the usual way; so is every name
// where openat2 is refused as by an older kernel (ENOSYS) or one without the cached lookup (EINVAL), here by a filter.
TEST(ScannerModel, OpensWhatTheCacheProbeCannot)
{
    CacheProbe probe; // the children use copies: still fresh for the last check
    for (const unsigned error : {0, ENOSYS, EINVAL}) {
        sock_filter filter[] = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        };
        const sock_fprog program{static_cast<unsigned short>(std::size(filter)), filter};
        if (const pid_t child = fork(); child == 0)
            _exit(!((error == 0 || (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                                    prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0)) &&
                    OpenFileAt(AT_FDCWD, "/proc/version", &probe) >= 0 && (probe.unsupported || !probe.cached)));
        int status = 1;
        wait(&status);
        EXPECT_EQ(status, 0) << error;
    }
    // A probe that succeeds with errno left EAGAIN by an earlier name opens "." (always cached) once, on the lowest fd.
    const int lowest = open(".", O_RDONLY);
    close(lowest);
    errno = EAGAIN;
    const int fd = OpenFileAt(AT_FDCWD, ".", &probe);
    EXPECT_EQ(fd, lowest);
    close(fd);
}

} // namespace
