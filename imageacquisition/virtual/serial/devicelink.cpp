#include "devicelink.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ImageAcquisition {

namespace {

// Our links only ever point to pseudo-terminals.
constexpr const char* kOurTargets = "/dev/pts/";

std::string readLink(const std::string& path)
{
    char buffer[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), buffer, sizeof buffer - 1);
    return length < 0 ? std::string() : std::string(buffer, static_cast<size_t>(length));
}

bool isSymlink(const std::string& path)
{
    struct stat info{};
    return lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

// When a process started, in clock ticks since boot (field 22 of its
// stat); 0 when there is no such process. Together with the pid it names
// one process, even after the pid has been handed out again.
unsigned long long startTimeOf(long pid)
{
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    if (!stat || !std::getline(stat, text))
        return 0;
    // The command name in parentheses may hold blanks; the fields after
    // its closing parenthesis are plain numbers.
    const size_t close = text.rfind(')');
    if (close == std::string::npos)
        return 0;
    std::istringstream fields(text.substr(close + 1));
    std::string field;
    for (int number = 3; number <= 22 && fields >> field; ++number) {
        if (number == 22)
            return std::strtoull(field.c_str(), nullptr, 10);
    }
    return 0;
}

struct Note
{
    long pid = 0;
    unsigned long long startTime = 0; // 0 in notes of older versions
    std::string target;
};

bool readNote(int fd, Note& note)
{
    char buffer[PATH_MAX + 64];
    const ssize_t length = pread(fd, buffer, sizeof buffer - 1, 0);
    if (length <= 0)
        return false;
    buffer[length] = '\0';
    char target[PATH_MAX];
    if (std::sscanf(buffer, "%ld %llu %4095s", &note.pid, &note.startTime, target) == 3) {
        note.target = target;
        return note.pid > 0;
    }
    note.startTime = 0;
    if (std::sscanf(buffer, "%ld %4095s", &note.pid, target) == 2) {
        note.target = target;
        return note.pid > 0;
    }
    return false;
}

// Whether the process the note names has certainly ended. For notes of
// this version the free lock already says so; older notes had no lock, and
// their maker is looked for by pid (and start time, where the note has it).
bool makerHasEnded(const Note& note)
{
    if (note.pid == static_cast<long>(getpid()))
        return false;
    const unsigned long long started = startTimeOf(note.pid);
    if (started != 0)
        return note.startTime != 0 && started != note.startTime; // the pid went to another process
    // No such entry in /proc, or no /proc: ask the kernel directly. A
    // process we may not signal is alive.
    return kill(static_cast<pid_t>(note.pid), 0) != 0 && errno == ESRCH;
}

// Whether the link at path is the one the note describes, one of ours.
bool noteMatches(const Note& note, const std::string& path)
{
    return note.target.rfind(kOurTargets, 0) == 0 && isSymlink(path) && readLink(path) == note.target;
}

// Takes the note's lock without waiting: false when a live maker holds it.
// A moment's retry covers another process that is only looking.
bool lockNote(int fd)
{
    for (int attempt = 0; attempt < 5; ++attempt) {
        if (flock(fd, LOCK_EX | LOCK_NB) == 0)
            return true;
        if (errno != EWOULDBLOCK && errno != EINTR)
            return false;
        usleep(2000);
    }
    return false;
}

} // namespace

DeviceLink::DeviceLink(std::string target, std::string path, UniqueFd note)
    : m_target(std::move(target)), m_path(std::move(path)), m_note(std::move(note))
{
}

std::string DeviceLink::notePath(const std::string& path)
{
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? std::string(".") : path.substr(0, slash);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    return folder + "/." + name + ".owner";
}

bool DeviceLink::removeAbandoned(const std::string& path)
{
    if (!isSymlink(path))
        return false;
    UniqueFd fd(open(notePath(path).c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.isValid() || !lockNote(fd.get()))
        return false;
    Note note;
    if (!readNote(fd.get(), note) || !noteMatches(note, path) || !makerHasEnded(note))
        return false;
    if (unlink(path.c_str()) != 0)
        return false;
    // Still under the lock, so that no new maker's note goes with it.
    unlink(notePath(path).c_str());
    return true;
}

std::unique_ptr<DeviceLink> DeviceLink::create(const std::string& target, const std::string& path, int& error)
{
    // The note first, locked, and only then the link: a process that finds
    // the link always finds its maker holding the note.
    const std::string note = notePath(path);
    bool madeNote = true;
    UniqueFd fd(open(note.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (!fd.isValid() && errno == EEXIST) {
        madeNote = false;
        fd.reset(open(note.c_str(), O_RDWR | O_CLOEXEC));
    }
    if (!fd.isValid()) {
        error = -errno;
        return nullptr;
    }
    if (!lockNote(fd.get())) {
        // A live maker holds it: its link is there and stays.
        error = -EEXIST;
        return nullptr;
    }
    Note previous;
    if (!madeNote && readNote(fd.get(), previous) && noteMatches(previous, path) && makerHasEnded(previous))
        unlink(path.c_str());
    if (symlink(target.c_str(), path.c_str()) != 0) {
        error = -errno;
        if (madeNote)
            unlink(note.c_str());
        return nullptr;
    }
    const std::string text =
        std::to_string(getpid()) + " " + std::to_string(startTimeOf(getpid())) + " " + target + "\n";
    // Without the note's text the link still works; it just cannot be
    // taken over should this process die without removing it.
    if (ftruncate(fd.get(), 0) == 0) {
        [[maybe_unused]] const ssize_t written = pwrite(fd.get(), text.data(), text.size(), 0);
    }
    error = 0;
    return std::unique_ptr<DeviceLink>(new DeviceLink(target, path, std::move(fd)));
}

DeviceLink::~DeviceLink()
{
    if (readLink(m_path) == m_target)
        unlink(m_path.c_str());
    Note note;
    if (readNote(m_note.get(), note) && note.pid == static_cast<long>(getpid()) && note.target == m_target)
        unlink(notePath(m_path).c_str());
}

} // namespace ImageAcquisition
