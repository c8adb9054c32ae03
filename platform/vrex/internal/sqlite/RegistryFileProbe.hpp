#pragma once

#include <cstdint>
#include <string>

namespace vrex::internal {

// Looks at a registry file's bytes, without SQLite and without writing anything, to tell whether
// opening it as a registry can be safe.
class RegistryFileProbe {
public:
    // Stamped into the SQLite header of every registry (PRAGMA application_id): "vrex". Stored
    // in files: never change it.
    static constexpr std::uint32_t kApplicationId = 0x76726578;

    enum class State {
        Absent,          // nothing there yet: a new registry may be made
        Empty,           // a file of length zero: made a new registry too (it holds no data)
        Registry,        // an SQLite database stamped as a registry, of plausible length
        Directory,       // refused
        NotRegularFile,  // a device, pipe or socket: refused
        Unreadable,      // refused: the reason is in message()
        NotSqlite,       // not an SQLite database (text, another format): refused
        Foreign,         // an SQLite database of another application: refused
        Truncated,       // an SQLite database shorter than its header says: refused
    };

    explicit RegistryFileProbe(const std::string& file);

    State state() const { return state_; }
    // Why the file cannot be opened (empty for Absent, Empty, Registry).
    const std::string& message() const { return message_; }

private:
    void inspect(const std::string& file);
    void inspectHeader(const std::string& file, const unsigned char* header, std::uint64_t size);
    void refuse(State state, std::string message);

    State state_ = State::Absent;
    std::string message_;
};

}  // namespace vrex::internal
