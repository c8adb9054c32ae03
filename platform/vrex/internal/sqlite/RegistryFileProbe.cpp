#include "vrex/internal/sqlite/RegistryFileProbe.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vrex::internal {

namespace {

constexpr std::size_t kHeaderSize = 100;
const char kSqliteMagic[] = "SQLite format 3";  // 16 bytes with its NUL

std::uint32_t bigEndian32(const unsigned char* bytes) {
    return (std::uint32_t(bytes[0]) << 24) | (std::uint32_t(bytes[1]) << 16) |
           (std::uint32_t(bytes[2]) << 8) | std::uint32_t(bytes[3]);
}

// SQLite's page size: 2 bytes at offset 16, where 1 stands for 65536.
std::uint64_t pageSize(const unsigned char* header) {
    std::uint32_t size = (std::uint32_t(header[16]) << 8) | header[17];
    return size == 1 ? 65536 : size;
}

// A write-ahead log beside the file may hold pages the file itself does not have yet.
bool hasPendingLog(const std::string& file) {
    struct stat info {};
    return ::stat((file + "-wal").c_str(), &info) == 0 && info.st_size > 0;
}

// Reads up to `size` bytes from the start of `file`; the count read, or -1 with errno set.
long readStart(const std::string& file, unsigned char* buffer, std::size_t size) {
    int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return -1;
    std::size_t total = 0;
    while (total < size) {
        ssize_t count = ::read(fd, buffer + total, size - total);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        total += static_cast<std::size_t>(count);
    }
    int savedErrno = errno;
    ::close(fd);
    errno = savedErrno;
    return static_cast<long>(total);
}

}  // namespace

RegistryFileProbe::RegistryFileProbe(const std::string& file) { inspect(file); }

void RegistryFileProbe::inspect(const std::string& file) {
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return;  // Absent: making it will tell why not
        refuse(State::Unreadable, "cannot examine \"" + file + "\": " + std::strerror(errno));
        return;
    }
    if (S_ISDIR(info.st_mode)) {
        refuse(State::Directory, "\"" + file + "\" is a directory, not a registry file");
        return;
    }
    if (!S_ISREG(info.st_mode)) {
        refuse(State::NotRegularFile, "\"" + file + "\" is not a regular file");
        return;
    }
    if (info.st_size == 0) {
        state_ = State::Empty;
        return;
    }
    unsigned char header[kHeaderSize] = {};
    long count = readStart(file, header, kHeaderSize);
    if (count < 0) {
        refuse(State::Unreadable, "cannot read \"" + file + "\": " + std::strerror(errno));
        return;
    }
    if (static_cast<std::size_t>(count) < kHeaderSize) {
        bool sqlitePrefix = std::memcmp(header, kSqliteMagic,
                                        std::min<std::size_t>(count, sizeof kSqliteMagic)) == 0;
        refuse(sqlitePrefix ? State::Truncated : State::NotSqlite,
               "\"" + file + "\" is " +
                   (sqlitePrefix ? "a truncated SQLite database" : "not a registry (not an SQLite database)"));
        return;
    }
    inspectHeader(file, header, static_cast<std::uint64_t>(info.st_size));
}

void RegistryFileProbe::inspectHeader(const std::string& file, const unsigned char* header,
                                      std::uint64_t size) {
    if (std::memcmp(header, kSqliteMagic, sizeof kSqliteMagic) != 0) {
        refuse(State::NotSqlite, "\"" + file + "\" is not a registry (not an SQLite database)");
        return;
    }
    if (bigEndian32(header + 68) != kApplicationId) {
        refuse(State::Foreign, "\"" + file + "\" is an SQLite database but not a registry");
        return;
    }
    std::uint64_t page = pageSize(header);
    std::uint32_t pageCount = bigEndian32(header + 28);
    // The page count in the header is valid when the change counter equals "version valid for".
    bool countValid = pageCount > 0 && bigEndian32(header + 24) == bigEndian32(header + 92);
    bool shortOfPages = countValid && size < page * pageCount && !hasPendingLog(file);
    if (page < 512 || size % page != 0 || shortOfPages) {
        refuse(State::Truncated, "\"" + file + "\" is a truncated registry (" +
                                     std::to_string(size) + " bytes)");
        return;
    }
    state_ = State::Registry;
}

void RegistryFileProbe::refuse(State state, std::string message) {
    state_ = state;
    message_ = std::move(message);
}

}  // namespace vrex::internal
