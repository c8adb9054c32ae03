#pragma once

#include <string>

namespace kobj {

// A user of the class system on whose behalf packages are held and released. Scripts and modules
// act as the public client.
class COSClient {
public:
    explicit COSClient(std::string name) : name_(std::move(name)) {}
    const std::string& name() const { return name_; }

private:
    std::string name_;
};

// The public client; lives as long as the process.
const COSClient& COSGetPublicClient();

}  // namespace kobj
