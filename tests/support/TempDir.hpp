#pragma once

// A directory of its own under the system's temporary directory, removed with its contents.

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace scm_test {

class TempDir {
public:
    TempDir() : path_((std::filesystem::temp_directory_path() / "scm-test-XXXXXX").string()) {
        if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    }
    ~TempDir() {
        std::error_code ignored;  // a test may have taken the owner's permissions away
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::filesystem::path path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

}  // namespace scm_test
