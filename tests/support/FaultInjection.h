#pragma once
// Ways to make file writes fail in tests, for any user (tests may run as
// root, whom permission bits do not stop):
// - AsUnprivileged runs a check in a child process that has given up root,
//   so that a read-only folder really refuses writes;
// - FileSizeLimit makes every write past a few bytes fail, as a full disk
//   would (the signal that the limit raises is ignored meanwhile);
// - OnSmallDisk runs a check in a child process, in a mount namespace of its
//   own, on a small tmpfs that FillDisk fills up: a real full disk (where
//   the system allows mounting; otherwise the check is not run).
#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <functional>
#include <string>

namespace webstep::test {

// Runs check in a child process without root rights (as "nobody" when
// started as root); returns the child's result: check's return value, or
// -1 when the child could not be started or drop its rights.
inline int AsUnprivileged(const std::function<int()>& check) {
    if (::geteuid() != 0)
        return check();
    const pid_t child = ::fork();
    if (child < 0)
        return -1;
    if (child == 0) {
        const uid_t nobody = 65534;
        if (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)
            ::_exit(255);
        ::_exit(check() & 0x7F);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) == 255)
        return -1;
    return WEXITSTATUS(status);
}

// While alive, no file of this process may grow past limit bytes.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t limit) {
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        m_ok = ::sigaction(SIGXFSZ, &ignore, &m_previousAction) == 0 &&
               ::getrlimit(RLIMIT_FSIZE, &m_saved) == 0;
        struct rlimit limited = m_saved;
        limited.rlim_cur = limit;
        m_ok = m_ok && ::setrlimit(RLIMIT_FSIZE, &limited) == 0;
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_saved);
        ::sigaction(SIGXFSZ, &m_previousAction, nullptr);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    bool ok() const { return m_ok; }

private:
    struct sigaction m_previousAction {};
    struct rlimit m_saved {};
    bool m_ok = false;
};

// The result of OnSmallDisk when no small disk could be made.
constexpr int kNoSmallDisk = 77;

// Runs check(folder) in a child process on a fresh 256 KiB tmpfs mounted on
// folder (an existing, empty directory) in a private mount namespace, so the
// mount disappears with the child. Returns check's result, kNoSmallDisk
// when the mount is not allowed here, or -1 when the child failed.
inline int OnSmallDisk(const std::string& folder,
                       const std::function<int(const std::string&)>& check) {
    const pid_t child = ::fork();
    if (child < 0)
        return -1;
    if (child == 0) {
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=256k") != 0)
            ::_exit(kNoSmallDisk);
        ::_exit(check(folder) & 0x7F);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

// Fills the file system of folder until no byte more fits (the filler file
// is left in place). True when the disk is full.
inline bool FillDisk(const std::string& folder) {
    const std::string path = folder + "/filler";
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (fd < 0)
        return false;
    char block[4096] = {};
    for (std::size_t size : {sizeof block, std::size_t{1}}) {
        while (::write(fd, block, size) == static_cast<ssize_t>(size)) {
        }
    }
    const bool full = ::write(fd, block, 1) < 0 && errno == ENOSPC;
    ::close(fd);
    return full;
}

}  // namespace webstep::test
