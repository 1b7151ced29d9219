#pragma once

/// \file
/// Files read whole and replaced whole. A reader of a path that is replaced here sees the old text or the new one,
/// never a part, whatever happens to the writer. Every descriptor is closed on exec, and an interrupted call is made
/// again. The objects belong to one thread at a time.

#include <sys/types.h>

#include <cerrno>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vyn::detail {

/// Makes a system call again for as long as a signal interrupts it. \return its result.
template <class Call>
auto Retried(Call call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR) {
            return result;
        }
    }
}

/// A descriptor that is closed with the object.
class Descriptor {
public:
    /// \param fd -1 means none.
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { Close(); }

    /// \return the number; -1 without one.
    int Get() const { return m_fd; }
    bool IsOpen() const { return m_fd >= 0; }
    /// \return the number, which the caller closes.
    int Release();
    /// Closes it now; a closed one is left alone.
    /// \return 0, else the error that the system kept back until now.
    int Close();

private:
    int m_fd;
};

/// `open` with O_CLOEXEC.
/// \return a descriptor that isn't open, and `errno`, on failure.
Descriptor OpenFile(const char* path, int flags, mode_t mode = 0);

/// Reads a whole regular file. Of one that a process is writing in place, or was when it ended, the whole new text is
/// read from beside it.
/// \param[out] text the content; unchanged on failure.
/// \param limit bytes.
/// \return 0, else an error number: ENOENT when there is no such file, EISDIR for a directory, EINVAL for anything else
/// that isn't a regular file, EFBIG above the limit.
int ReadFile(const char* path, std::string& text, size_t limit = static_cast<size_t>(-1));

/// \return the file beside \p path that ReadFile reads in its place; empty when that is the file itself.
std::string FindJournal(const char* path);

/// \return 0 when \p path may be written or made, else an error number, as for a file without permission to write.
/// Whoever replaces a file that he would otherwise have opened asks this first.
int CheckWritable(const char* path);

/// Writes all of the pieces to \p fd.
/// \return 0, else an error number.
int WriteAll(int fd, const std::vector<std::string_view>& pieces);

/// Whether the new text is to survive a loss of power from the moment of the result on.
enum class Durability { eSynced, eUnsynced };

/// \brief The replacement of one file, under a lock.
///
/// The new text goes to a file beside the old one, which then takes its place together with its permissions and, where
/// the process may, its owner and group. A symbolic link stays a link: its target is replaced. Between Lock and the end
/// of the object no other process that uses this class replaces a file of the same directory.
class FileReplacement {
public:
    /// \param path not null.
    explicit FileReplacement(const char* path) : m_path(path) {}
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;
    /// Lets go of the lock. What a killed process left beside the file is gone by then at the latest.
    ~FileReplacement();

    /// Follows the symbolic links and takes the lock of the directory, for which it waits up to ten seconds. A file
    /// system without locks is no error. A file that was left half written in place is finished.
    /// \return 0, else an error number: ETIMEDOUT when another process holds the lock.
    int Lock();
    /// Reads the present content.
    /// \return as ReadFile.
    int Read(std::string& text) const { return ReadFile(m_path.c_str(), text); }
    /// Puts \p pieces in the place of the file, or makes the file.
    /// \pre Lock was successful.
    /// \return 0 when the path holds the new text, else an error number: it holds the old one, or no file as before,
    /// and nothing is left beside it.
    int Replace(const std::vector<std::string_view>& pieces, Durability durability);
    /// The same for a text that \p write writes to the descriptor that it is given. It returns 0, else an error
    /// number.
    int Replace(const std::function<int(int)>& write, Durability durability);
    /// The same as the first, but a file whose directory doesn't let it be replaced, as a mount point or another
    /// user's file under the sticky bit, is written in place. Until that is done the whole new text lies beside it, for
    /// ReadFile and for the next Lock. What goes wrong is taken back; only where that fails too the error number
    /// doesn't mean the old text.
    int ReplaceOrOverwrite(const std::vector<std::string_view>& pieces, Durability durability);

private:
    Descriptor MakeTemporary(mode_t mode);
    int WriteTemporary(const std::function<int(int)>& write, Durability durability);
    int TakePlace(Durability durability);
    int WriteInPlace(const std::vector<std::string_view>& pieces);
    int MakeJournal(const std::string& journal) const;
    int FinishOverwriting() const;
    void SyncDirectory() const;

    std::string m_path;  // with the links followed, from Lock on
    std::string m_temporary;
    Descriptor m_directory;    // open, and locked, from Lock on
    bool m_bLeftOver = false;  // what a killed process left may be there
};

/// Locks, and replaces the file unless it holds \p text already.
/// \return 0, else an error number; see FileReplacement.
int ReplaceFile(const char* path, std::string_view text, Durability durability = Durability::eSynced);

}  // namespace vyn::detail
