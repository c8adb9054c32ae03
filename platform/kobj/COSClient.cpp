#include "kobj/COSClient.hpp"

namespace kobj {

const COSClient& COSGetPublicClient() {
    static const COSClient publicClient("public");
    return publicClient;
}

}  // namespace kobj
