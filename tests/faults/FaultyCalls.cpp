/**
 * A library to preload: counts the calls with which a program changes what is below a folder, and
 * lets some of them go wrong. Reading is not counted, but for the opening of folders, which are
 * synced then, and of what begins with ".configscript-".
 *
 * FAULTS_BELOW    the folder, absolute
 * FAULTS          what goes wrong, as NUMBER=HOW, separated by commas; the first call has the
 *                 number 1. HOW is
 *                   crash  the process ends before the call
 *                   torn   it ends after half of a write; before any other call
 *                   short  half is written, and that is what the call says; others work
 *                   a number: the call does nothing, and fails with this error
 *                   a number and "+": so do all later ones, except those that close, and, when the
 *                   disk is full (ENOSPC), those that need no space
 *
 * What could change a file there and is not counted ends the program with the exit code 100.
 *
 * FAULTS_LOG      a file that gets a line for each call: its name and the path relative to the
 *                 folder; for a journal also what is written, else how many bytes
 */

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

constexpr int s_exitCode = 99; // of a process that ends here

enum class How { Works, Crash, Torn, Short, Fails };

template <typename Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

std::string variable(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

/// What the process does, counted. It has one thread that changes files.
class Calls
{
public:
    static Calls &instance()
    {
        static Calls *calls = new Calls; // outlives everything
        return *calls;
    }

    /// Relative to the folder; empty for a path that is not below it.
    std::string relative(const char *path) const
    {
        std::string whole = path ? path : "";
        char folder[4096];
        if (!whole.empty() && whole.front() != '/' && getcwd(folder, sizeof folder)) {
            whole = std::string(folder) + '/' + whole;
        }
        return !m_folder.empty() && whole.compare(0, m_folder.size(), m_folder) == 0
            ? whole.substr(m_folder.size())
            : std::string();
    }

    /// An open file; to close it changes something if it was opened to be written.
    struct File
    {
        std::string path;
        bool isWritable = false;
    };

    File &file(int descriptor)
    {
        static File none;
        none = File();
        return descriptor >= 0 && descriptor < s_files ? m_files[descriptor] : none;
    }

    /// Counts a call; ends the process when it crashes here.
    How next(const std::string &name, const std::string &path, bool needsSpace)
    {
        ++m_count;
        log(name + ' ' + path + '\n');
        const How how = fate(name, needsSpace);
        if (how == How::Crash || (how == How::Torn && name != "write")) {
            _exit(s_exitCode);
        }
        if (how == How::Fails) {
            errno = m_error;
        }
        return how;
    }

private:
    Calls()
        : m_folder(variable("FAULTS_BELOW"))
        , m_faults(',' + variable("FAULTS") + ',')
    {
        const std::string path = variable("FAULTS_LOG");
        if (!m_folder.empty()) {
            m_folder += '/';
        }
        if (!path.empty()) {
            m_log = real<int(const char *, int, ...)>("open")(
                path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
        }
    }

    How fate(const std::string &name, bool needsSpace)
    {
        const std::string key = ',' + std::to_string(m_count) + '=';
        const size_t begin = m_faults.find(key);
        if (begin != std::string::npos) {
            const std::string value = m_faults.substr(
                begin + key.size(), m_faults.find(',', begin + key.size()) - begin - key.size());
            if (value == "crash") {
                return How::Crash;
            }
            if (value == "torn") {
                return How::Torn;
            }
            if (value == "short") {
                return How::Short;
            }
            m_error = std::atoi(value.c_str());
            m_isLasting = value.back() == '+';
            return How::Fails;
        }
        const bool isSpared = name == "close" || (m_error == ENOSPC && !needsSpace);
        return m_isLasting && !isSpared ? How::Fails : How::Works;
    }

    void log(const std::string &line) const
    {
        if (m_log >= 0) {
            const ssize_t ignored =
                real<ssize_t(int, const void *, size_t)>("write")(m_log, line.data(), line.size());
            static_cast<void>(ignored);
        }
    }

    static constexpr int s_files = 1024;

    std::string m_folder;
    std::string m_faults;
    int m_log = -1;
    int m_count = 0;
    int m_error = 0;
    bool m_isLasting = false;
    File m_files[s_files]; ///< by descriptor
};

bool isOfBatch(const std::string &path)
{
    return path.find("/.configscript-") != std::string::npos;
}

int openFile(const char *path, int flags, mode_t mode)
{
    const std::string relative = Calls::instance().relative(path);
    const bool isCounted = !relative.empty() && (flags & O_PATH) == 0
        && ((flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC | O_DIRECTORY)) != 0
            || isOfBatch(relative));
    const char *name = (flags & O_CREAT) != 0 ? "create" : "open";
    if (isCounted && Calls::instance().next(name, relative, (flags & O_CREAT) != 0) == How::Fails) {
        return -1;
    }
    const int file = real<int(const char *, int, ...)>("open64")(path, flags, mode);
    if (isCounted) {
        Calls::instance().file(file) = {relative, (flags & (O_WRONLY | O_RDWR)) != 0};
    }
    return file;
}

mode_t modeOf(int flags, va_list arguments)
{
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

/// @param how writes the data from its beginning up to a size
template <typename Write>
ssize_t writeFile(int file, const void *data, size_t size, Write how)
{
    const std::string path = Calls::instance().file(file).path;
    if (path.empty()) {
        return how(size);
    }
    std::string text = std::to_string(size);
    if (isOfBatch(path) && path.find("-journal") != std::string::npos) {
        text.assign(static_cast<const char *>(data), size);
        text.erase(text.find_last_not_of('\n') + 1);
    }
    const How fate = Calls::instance().next("write", path + ' ' + text, true);
    if (fate == How::Fails) {
        return -1;
    }
    const ssize_t written = how(fate == How::Works ? size : size / 2);
    if (fate == How::Torn) {
        _exit(s_exitCode);
    }
    return written;
}

ssize_t writeFileAt(int file, const void *data, size_t size, off64_t offset)
{
    return writeFile(file, data, size, [&](size_t some) {
        return real<ssize_t(int, const void *, size_t, off64_t)>("pwrite64")(file, data, some,
                                                                             offset);
    });
}

/// What nothing is expected to call on a project: it would not be counted.
void refuse(const char *name, const char *path)
{
    if (path && !Calls::instance().relative(path).empty()) {
        std::fprintf(stderr, "%s %s is not counted\n", name, path);
        _exit(s_exitCode + 1);
    }
}

/// Calls a function that takes two paths, each in a folder, and is not expected.
template <typename... Arguments>
int refusedAt(const char *name, int fromFolder, const char *from, int toFolder, const char *to,
              Arguments... arguments)
{
    refuse(name, to);
    return real<int(int, const char *, int, const char *, Arguments...)>(name)(
        fromFolder, from, toFolder, to, arguments...);
}

int syncFile(const char *name, int file)
{
    const std::string path = Calls::instance().file(file).path;
    return !path.empty() && Calls::instance().next(name, path, false) == How::Fails
        ? -1
        : real<int(int)>(name)(file);
}

/// Calls a function that takes one path, counted under its name.
template <typename... Arguments>
int onPath(const char *name, bool needsSpace, const char *path, Arguments... arguments)
{
    const std::string relative = Calls::instance().relative(path);
    return !relative.empty() && Calls::instance().next(name, relative, needsSpace) == How::Fails
        ? -1
        : real<int(const char *, Arguments...)>(name)(path, arguments...);
}

int onPaths(const char *name, bool needsSpace, const char *from, const char *to)
{
    const std::string relative = Calls::instance().relative(to);
    return !relative.empty()
            && Calls::instance().next(name, Calls::instance().relative(from) + " -> " + relative,
                                      needsSpace)
                == How::Fails
        ? -1
        : real<int(const char *, const char *)>(name)(from, to);
}

/// Calls a function that takes an open file, counted under its name.
template <typename... Arguments>
int onFile(const char *name, int file, Arguments... arguments)
{
    const std::string path = Calls::instance().file(file).path;
    return !path.empty() && Calls::instance().next(name, path, false) == How::Fails
        ? -1
        : real<int(int, Arguments...)>(name)(file, arguments...);
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openFile(path, flags, mode);
}

__attribute__((visibility("default"))) int open64(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openFile(path, flags | O_LARGEFILE, mode);
}

__attribute__((visibility("default"))) ssize_t write(int file, const void *data, size_t size)
{
    return writeFile(file, data, size, [&](size_t some) {
        return real<ssize_t(int, const void *, size_t)>("write")(file, data, some);
    });
}

__attribute__((visibility("default"))) ssize_t pwrite(int file, const void *data, size_t size,
                                                      off_t offset)
{
    return writeFileAt(file, data, size, offset);
}

__attribute__((visibility("default"))) ssize_t pwrite64(int file, const void *data, size_t size,
                                                        off64_t offset)
{
    return writeFileAt(file, data, size, offset);
}

__attribute__((visibility("default"))) int close(int file)
{
    const auto closed = std::exchange(Calls::instance().file(file), {});
    const bool fails =
        closed.isWritable && Calls::instance().next("close", closed.path, false) == How::Fails;
    const int error = errno;
    const int result = real<int(int)>("close")(file); // it is closed in any case
    errno = fails ? error : errno;
    return fails ? -1 : result;
}

__attribute__((visibility("default"))) int fsync(int file)
{
    return syncFile("fsync", file);
}

__attribute__((visibility("default"))) int fdatasync(int file)
{
    return syncFile("fdatasync", file);
}

__attribute__((visibility("default"))) int syncfs(int file) noexcept
{
    return syncFile("syncfs", file);
}

__attribute__((visibility("default"))) int flock(int file, int operation) noexcept
{
    return onFile("flock", file, operation);
}

__attribute__((visibility("default"))) int rename(const char *from, const char *to) noexcept
{
    return onPaths("rename", false, from, to);
}

__attribute__((visibility("default"))) int link(const char *from, const char *to) noexcept
{
    return onPaths("link", true, from, to);
}

__attribute__((visibility("default"))) int unlink(const char *path) noexcept
{
    return onPath("unlink", false, path);
}

__attribute__((visibility("default"))) int rmdir(const char *path) noexcept
{
    return onPath("rmdir", false, path);
}

__attribute__((visibility("default"))) int mkdir(const char *path, mode_t mode) noexcept
{
    return onPath("mkdir", true, path, mode);
}

__attribute__((visibility("default"))) int chmod(const char *path, mode_t mode) noexcept
{
    return onPath("chmod", false, path, mode);
}

__attribute__((visibility("default"))) int fchmod(int file, mode_t mode) noexcept
{
    return onFile("fchmod", file, mode);
}

__attribute__((visibility("default"))) int fchown(int file, uid_t user, gid_t group) noexcept
{
    return onFile("fchown", file, user, group);
}

__attribute__((visibility("default"))) int ftruncate(int file, off_t size) noexcept
{
    return onFile("ftruncate", file, size);
}

__attribute__((visibility("default"))) int ftruncate64(int file, off64_t size) noexcept
{
    return onFile("ftruncate64", file, size);
}

__attribute__((visibility("default"))) int openat64(int folder, const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    if ((flags & (O_WRONLY | O_RDWR | O_CREAT)) != 0) {
        refuse("openat", path);
    }
    return real<int(int, const char *, int, ...)>("openat64")(folder, path, flags, mode);
}

__attribute__((visibility("default"))) int openat(int folder, const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openat64(folder, path, flags, mode);
}

__attribute__((visibility("default"))) int renameat(int fromFolder, const char *from, int toFolder,
                                                    const char *to) noexcept
{
    return refusedAt("renameat", fromFolder, from, toFolder, to);
}

__attribute__((visibility("default"))) int renameat2(int fromFolder, const char *from, int toFolder,
                                                     const char *to, unsigned flags) noexcept
{
    return refusedAt("renameat2", fromFolder, from, toFolder, to, flags);
}

__attribute__((visibility("default"))) int linkat(int fromFolder, const char *from, int toFolder,
                                                  const char *to, int flags) noexcept
{
    return refusedAt("linkat", fromFolder, from, toFolder, to, flags);
}

__attribute__((visibility("default"))) int unlinkat(int folder, const char *path,
                                                    int flags) noexcept
{
    refuse("unlinkat", path);
    return real<int(int, const char *, int)>("unlinkat")(folder, path, flags);
}

__attribute__((visibility("default"))) int symlink(const char *to, const char *path) noexcept
{
    refuse("symlink", path);
    return real<int(const char *, const char *)>("symlink")(to, path);
}

__attribute__((visibility("default"))) int truncate64(const char *path, off64_t size) noexcept
{
    refuse("truncate", path);
    return real<int(const char *, off64_t)>("truncate64")(path, size);
}

__attribute__((visibility("default"))) FILE *fopen64(const char *path, const char *mode)
{
    if (std::strpbrk(mode, "wa+")) {
        refuse("fopen", path);
    }
    return real<FILE *(const char *, const char *)>("fopen64")(path, mode);
}

__attribute__((visibility("default"))) FILE *fopen(const char *path, const char *mode)
{
    return fopen64(path, mode);
}

// The only one that the program makes itself is one that looks for a file (openat2).
__attribute__((visibility("default"))) long syscall(long number, ...) noexcept
{
    va_list list;
    va_start(list, number);
    long arguments[6];
    for (long &argument : arguments) {
        argument = va_arg(list, long);
    }
    va_end(list);
    const bool isOpening = number == SYS_openat2
        && (*reinterpret_cast<const unsigned long long *>(arguments[2]) & O_PATH) == 0;
    if (isOpening || number == SYS_renameat2) {
        refuse("syscall", reinterpret_cast<const char *>(arguments[isOpening ? 1 : 3]));
    }
    return real<long(long, ...)>("syscall")(number, arguments[0], arguments[1], arguments[2],
                                            arguments[3], arguments[4], arguments[5]);
}

} // extern "C"
