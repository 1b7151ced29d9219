#include "Files/File_p.h"
#include "Text/Pool_p.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace vyn::detail {

namespace {

constexpr int kLockSeconds = 10;
constexpr int kMaxLinks = 40;  // as the kernel's own limit
// The first byte of a file that is being written in place. No text begins so.
constexpr std::string_view kMark("\0", 1);

int Check(int result) {
    return result < 0 ? errno : 0;
}

std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, std::max(slash, size_t{1}));
}

// Replaces `path` by what it leads to; a link that leads nowhere names the file to be made. 0 or an error number.
int FollowLinks(std::string& path) {
    for (int i = 0; i < kMaxLinks; ++i) {
        char target[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length < 0) {
            return errno == EINVAL || errno == ENOENT ? 0 : errno;  // no link, or nothing there
        }
        const std::string next(target, static_cast<size_t>(length));
        path = next.front() == '/' ? next : DirectoryOf(path).append("/").append(next);
    }
    return ELOOP;
}

// The file that is written beside `path`. A name that has no room for one more byte gives way to one made of its hash.
std::string TemporaryBeside(const std::string& path) {
    const size_t start = path.rfind('/') + 1;
    if (path.size() - start < NAME_MAX) {
        return path + '~';
    }
    char name[40];
    snprintf(name, sizeof name, ".%zx~", std::hash<std::string>()(path.substr(start)));
    return path.substr(0, start) + name;
}

// Where the whole new text lies as long as the file begins with the mark.
std::string JournalBeside(const std::string& path) {
    return TemporaryBeside(TemporaryBeside(path));
}

std::string JournalOf(std::string path) {
    FollowLinks(path);
    return JournalBeside(path);
}

bool IsMarked(std::string_view text) {
    return text.substr(0, 1) == kMark;
}

void SleepMilliseconds(long milliseconds) {
    const timespec time = {0, milliseconds * 1000000};
    nanosleep(&time, nullptr);
}

// 0 or an error number.
int LockDescriptor(int fd) {
    timespec start;
    clock_gettime(CLOCK_MONOTONIC, &start);
    for (long pause = 1;; pause = std::min(pause * 2, 20L)) {
        const int error = Check(Retried([=] { return flock(fd, LOCK_EX | LOCK_NB); }));
        if (error != EWOULDBLOCK) {
            const bool noLocks = error == ENOLCK || error == ENOTSUP || error == EBADF || error == EINVAL;
            return noLocks ? 0 : error;
        }
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        if (now.tv_sec - start.tv_sec >= kLockSeconds) {
            return ETIMEDOUT;
        }
        SleepMilliseconds(pause);
    }
}

// Gives the new file the owner and permissions of the old one, as far as the process may. Without the old group its
// members have the rights of all others.
void TakeOverOwner(int fd, const struct stat& old) {
    struct stat now;
    mode_t mode = old.st_mode & 07777;
    if (fstat(fd, &now) != 0 || now.st_uid != old.st_uid || now.st_gid != old.st_gid) {
        if (fchown(fd, old.st_uid, old.st_gid) != 0 && fchown(fd, static_cast<uid_t>(-1), old.st_gid) != 0) {
            mode = (mode & ~mode_t{070}) | ((mode & 07) << 3);
        }
    }
    fchmod(fd, mode);
}

// Makes sure of the room for that many bytes. 0 or an error number.
int MakeRoom(int fd, off_t size) {
    int error = 0;
    do {
        error = size > 0 ? posix_fallocate(fd, 0, size) : 0;
    } while (error == EINTR);
    return error;
}

// Writes the text over the old one. Only the last step takes the mark away, so that the process may end in between.
// Where a text is put back, one that doesn't reach the disk is better than none. 0 or an error number.
int Overwrite(int fd, std::string_view text, bool putsBack) {
    const auto end = static_cast<off_t>(text.size());
    const auto sync = [=] {
        const int error = Check(Retried([=] { return fsync(fd); }));
        return putsBack ? 0 : error;
    };
    lseek(fd, 0, SEEK_SET);
    int error = WriteAll(fd, {kMark});
    error = error ? error : sync();
    error = error ? error : MakeRoom(fd, end);
    error = error ? error : WriteAll(fd, {text.substr(std::min(text.size(), kMark.size()))});
    error = error ? error : Check(Retried([=] { return ftruncate(fd, end); }));
    error = error ? error : sync();
    lseek(fd, 0, SEEK_SET);
    error = error ? error : WriteAll(fd, {text.substr(0, kMark.size())});
    return error ? error : sync();
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        Close();
        m_fd = other.Release();
    }
    return *this;
}

int Descriptor::Release() {
    const int fd = m_fd;
    m_fd = -1;
    return fd;
}

int Descriptor::Close() {
    if (m_fd < 0) {
        return 0;
    }
    const int saved = errno;
    const int error = Check(close(Release()));
    errno = saved;
    return error == EINTR ? 0 : error;  // the descriptor is gone all the same
}

Descriptor OpenFile(const char* path, int flags, mode_t mode) {
    return Descriptor(Retried([=] { return open(path, flags | O_CLOEXEC, mode); }));
}

namespace {

// As ReadFile, for the bytes of the file itself.
int ReadBytes(const char* path, std::string& text, size_t limit = static_cast<size_t>(-1)) {
    // Without O_NONBLOCK a FIFO would wait for a writer.
    const Descriptor file = OpenFile(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat status;
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    std::string content;
    size_t length = 0;
    for (size_t room = static_cast<size_t>(status.st_size) + 1;; room = length * 2) {
        if (length > limit || (room - 1 > limit && length == 0)) {
            return EFBIG;
        }
        content.reserve(room);
        MapPages(&content[0] + length, room - length);
        content.resize(room);
        while (length < room) {
            const ssize_t got = Retried([&] { return read(file.Get(), &content[length], room - length); });
            if (got < 0) {
                return errno;
            }
            length += static_cast<size_t>(got);
            // A file that tells its size ends there; one that tells none, as in /proc, is read until nothing comes.
            if (got == 0 || (status.st_size > 0 && length == static_cast<size_t>(status.st_size))) {
                content.resize(length);
                text = std::move(content);
                return 0;
            }
        }
    }
}

}  // namespace

int ReadFile(const char* path, std::string& text, size_t limit) {
    std::string content;
    int error = ReadBytes(path, content, limit);
    if (error == 0 && IsMarked(content)) {
        error = ReadBytes(JournalOf(path).c_str(), content, limit);
        if (error == ENOENT) {
            error = ReadBytes(path, content, limit);  // the writer has finished meanwhile, or it isn't a text
        }
    }
    if (error == 0) {
        text = std::move(content);
    }
    return error;
}

std::string FindJournal(const char* path) {
    std::string text;
    const std::string journal = JournalOf(path);
    const bool isUsed = ReadBytes(path, text) == 0 && IsMarked(text) && access(journal.c_str(), F_OK) == 0;
    return isUsed ? journal : std::string();
}

int CheckWritable(const char* path) {
    const Descriptor file = OpenFile(path, O_WRONLY | O_NONBLOCK | O_NOCTTY);
    return file.IsOpen() || errno == ENOENT ? 0 : errno;
}

int WriteAll(int fd, const std::vector<std::string_view>& pieces) {
    std::vector<iovec> rest;
    rest.reserve(pieces.size());
    for (const std::string_view& piece : pieces) {
        if (!piece.empty()) {
            rest.push_back({const_cast<char*>(piece.data()), piece.size()});
        }
    }
    for (size_t i = 0; i < rest.size();) {
        const int count = static_cast<int>(std::min(rest.size() - i, size_t{IOV_MAX}));
        const ssize_t written = Retried([&] { return writev(fd, &rest[i], count); });
        if (written < 0) {
            return errno;
        }
        size_t taken = static_cast<size_t>(written);
        for (; i < rest.size() && taken >= rest[i].iov_len; ++i) {
            taken -= rest[i].iov_len;
        }
        if (taken > 0) {
            rest[i].iov_base = static_cast<char*>(rest[i].iov_base) + taken;
            rest[i].iov_len -= taken;
        }
    }
    return 0;
}

int FileReplacement::Lock() {
    if (const int error = FollowLinks(m_path)) {
        return error;
    }
    m_temporary = TemporaryBeside(m_path);
    m_directory = OpenFile(DirectoryOf(m_path).c_str(), O_RDONLY | O_DIRECTORY);
    if (m_directory.IsOpen()) {
        if (const int error = LockDescriptor(m_directory.Get())) {
            return error;
        }
    } else if (errno == EACCES) {
        // A directory that may be written but not read has no lock: others' temporary files are left alone.
        m_temporary = TemporaryBeside(m_path + '.' + std::to_string(getpid()));
    } else {
        return errno;
    }
    m_bLeftOver = true;
    return FinishOverwriting();
}

// What a process that was killed while it wrote in place has left to do.
int FileReplacement::FinishOverwriting() const {
    const std::string journal = JournalBeside(m_path);
    if (access(journal.c_str(), F_OK) != 0) {
        return 0;
    }
    std::string text;
    int error = ReadBytes(m_path.c_str(), text);
    if (error == 0 && IsMarked(text)) {
        const Descriptor file = OpenFile(m_path.c_str(), O_RDWR | O_NOFOLLOW);
        error = file.IsOpen() ? ReadBytes(journal.c_str(), text) : errno;
        error = error ? error : Overwrite(file.Get(), text, false);
    }
    if (error != 0 && error != ENOENT) {
        return error;
    }
    unlink(journal.c_str());
    return 0;
}

FileReplacement::~FileReplacement() {
    if (m_bLeftOver) {
        const int error = errno;
        unlink(m_temporary.c_str());
        errno = error;
    }
}

// A descriptor that isn't open, and `errno`, on failure.
Descriptor FileReplacement::MakeTemporary(mode_t mode) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
    Descriptor file = OpenFile(m_temporary.c_str(), flags, mode);
    if (!file.IsOpen() && errno == EEXIST) {
        unlink(m_temporary.c_str());
        file = OpenFile(m_temporary.c_str(), flags, mode);
    }
    m_bLeftOver = false;
    return file;
}

// The temporary file is gone when the result isn't 0.
int FileReplacement::WriteTemporary(const std::function<int(int)>& write, Durability durability) {
    struct stat old;
    const bool isThere = stat(m_path.c_str(), &old) == 0;
    if (!isThere && errno != ENOENT) {
        return errno;
    }
    if (isThere && !S_ISREG(old.st_mode)) {
        return S_ISDIR(old.st_mode) ? EISDIR : EINVAL;
    }
    Descriptor file = MakeTemporary(isThere ? 0600 : 0666);
    if (!file.IsOpen()) {
        // Only a directory can't be removed.
        return errno == EEXIST ? EISDIR : errno;
    }
    if (isThere) {
        TakeOverOwner(file.Get(), old);
    }
    int error = write(file.Get());
    if (error == 0 && durability == Durability::eSynced) {
        error = Check(Retried([&] { return fsync(file.Get()); }));
    }
    const int late = file.Close();
    error = error ? error : late;
    if (error != 0) {
        unlink(m_temporary.c_str());
    }
    return error;
}

// What goes wrong is taken back. If that fails too, the file keeps the mark and the journal.
int FileReplacement::WriteInPlace(const std::vector<std::string_view>& pieces) {
    std::string old;
    if (const int error = Read(old)) {
        return error;
    }
    // The emulation of posix_fallocate reads.
    const Descriptor file = OpenFile(m_path.c_str(), O_RDWR | O_NOFOLLOW);
    if (!file.IsOpen()) {
        return errno;
    }
    const std::string journal = JournalBeside(m_path);
    if (const int error = MakeJournal(journal)) {
        return error;
    }
    std::string text;
    for (const std::string_view& piece : pieces) {
        text += piece;
    }
    const int error = Overwrite(file.Get(), text, false);
    if (error != 0 && Overwrite(file.Get(), old, true) != 0) {
        return error;
    }
    unlink(journal.c_str());
    return error;
}

// Makes the temporary file the journal, which is on the disk then, whatever the durability: without it the file that is
// written in place would be lost.
int FileReplacement::MakeJournal(const std::string& journal) const {
    const Descriptor file = OpenFile(m_temporary.c_str(), O_RDONLY);
    if (!file.IsOpen() || Retried([&] { return fsync(file.Get()); }) != 0) {
        return errno;
    }
    if (const int error = Check(Retried([&] { return rename(m_temporary.c_str(), journal.c_str()); }))) {
        return error;
    }
    SyncDirectory();
    return 0;
}

void FileReplacement::SyncDirectory() const {
    if (m_directory.IsOpen()) {
        Retried([&] { return fsync(m_directory.Get()); });
    }
}

// Moves the temporary file to its place. 0 or an error number.
int FileReplacement::TakePlace(Durability durability) {
    if (const int error = Check(Retried([&] { return rename(m_temporary.c_str(), m_path.c_str()); }))) {
        return error;
    }
    if (durability == Durability::eSynced) {
        // The path holds the new text already, so that an error here takes nothing back.
        SyncDirectory();
    }
    return 0;
}

int FileReplacement::Replace(const std::vector<std::string_view>& pieces, Durability durability) {
    return Replace([&](int fd) { return WriteAll(fd, pieces); }, durability);
}

int FileReplacement::Replace(const std::function<int(int)>& write, Durability durability) {
    if (const int error = WriteTemporary(write, durability)) {
        return error;
    }
    const int error = TakePlace(durability);
    if (error != 0) {
        unlink(m_temporary.c_str());
    }
    return error;
}

int FileReplacement::ReplaceOrOverwrite(const std::vector<std::string_view>& pieces, Durability durability) {
    if (const int error = WriteTemporary([&](int fd) { return WriteAll(fd, pieces); }, durability)) {
        return error;
    }
    int error = TakePlace(durability);
    if (error != 0) {
        error = WriteInPlace(pieces);
        unlink(m_temporary.c_str());
    }
    return error;
}

int ReplaceFile(const char* path, std::string_view text, Durability durability) {
    FileReplacement replacement(path);
    if (const int error = replacement.Lock()) {
        return error;
    }
    std::string old;
    const int error = replacement.Read(old);
    if (error != 0 && error != ENOENT) {
        return error;
    }
    if (error == 0 && old == text) {
        return 0;
    }
    return replacement.Replace({text}, durability);
}

}  // namespace vyn::detail
