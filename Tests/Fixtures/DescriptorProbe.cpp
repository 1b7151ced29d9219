// Prints the open descriptors of this process with their access, as "0:r 1:w 2:w", on one line.

#include <dirent.h>
#include <fcntl.h>

#include <cstdio>
#include <cstdlib>
#include <map>

int main() {
    DIR* dir = opendir("/proc/self/fd");
    if (!dir) {
        return 1;
    }
    std::map<int, char> open;
    while (const dirent* entry = readdir(dir)) {
        const int fd = atoi(entry->d_name);
        if (entry->d_name[0] != '.' && fd != dirfd(dir)) {
            const int access = fcntl(fd, F_GETFL) & O_ACCMODE;
            open[fd] = access == O_RDONLY ? 'r' : access == O_WRONLY ? 'w' : 'b';
        }
    }
    closedir(dir);
    const char* separator = "";
    for (const auto& [fd, access] : open) {
        printf("%s%d:%c", separator, fd, access);
        separator = " ";
    }
    return 0;
}
