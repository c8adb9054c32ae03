#include "RawRows.hpp"

#include "Workload.hpp"

namespace bench {

namespace {

const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz1234567890";

// 22 letters that differ for every seed (splitmix64 spread over base 62).
std::string standInChecksum(std::uint64_t seed) {
    std::string text;
    std::uint64_t state = seed * 0x9E3779B97F4A7C15ull + 1;
    while (text.size() < 22) {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        z ^= z >> 31;
        for (int digit = 0; digit < 10 && text.size() < 22; ++digit, z /= 62) text += kAlphabet[z % 62];
    }
    return text;
}

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

std::string utilityDataText(std::uint64_t i, bool merged) {
    const std::string name = quoted(utilityName(i));
    std::string models = quoted(modelName(i, 0)) + "," + quoted(modelName(i, 1));
    std::string traces = quoted(traceabilityEntry(i, 0)) + "," + quoted(traceabilityEntry(i, 1));
    if (merged) {
        models += ",\"model_merging\"";
        traces += "," + quoted("model_merging:" + utilityName(i) + ".c:7");
    }
    return "{\"class\":\"SharedCodeManager.BasicUtilityData\",\"Name\":" + name +
           ",\"Identifier\":" + name + ",\"NameWithEncodings\":" + quoted(utilityName(i) + "_rtw") +
           ",\"ModelNames\":[" + models + "],\"Multiword\":false,\"Complex\":false,\"Children\":[" +
           quoted(childName(i, 0)) + "," + quoted(childName(i, 1)) + "],\"Traceability\":[" + traces +
           "]}";
}

}  // namespace

RawRow rawUtilityRow(std::uint64_t i) {
    RawRow row;
    row.checksum = standInChecksum(i);
    row.name = utilityName(i);
    row.identity = "{\"class\":\"SharedCodeManager.BasicUtilityIdentity\",\"Checksum\":" +
                   quoted(row.checksum) +
                   ",\"Type\":\"SCM_UTILITIES\",\"UtilityIdentifier\":" + quoted(row.name) +
                   ",\"SymbolString\":\"\",\"MaximumIdentifierLength\":0,\"IncludeMaxIdLength\":true}";
    row.data = utilityDataText(i, false);
    return row;
}

std::string rawMergedUtilityData(std::uint64_t i) { return utilityDataText(i, true); }

RawRow rawFunctionRow(std::uint64_t i) {
    RawRow row;
    row.checksum = standInChecksum(~i);
    row.name = "fcn_" + utilityName(i);
    const auto element = static_cast<unsigned int>(i);
    row.identity = "{\"class\":\"SharedCodeManager.SharedFunctionIdentity\",\"Checksum\":" +
                   quoted(row.checksum) + ",\"Type\":\"SCM_SHARED_FUNCTIONS\",\"ChecksumElement1\":" +
                   std::to_string(element) + ",\"ChecksumElement2\":" + std::to_string(~element) +
                   ",\"ChecksumElement3\":" + std::to_string(element * 7u) +
                   ",\"ChecksumElement4\":42}";
    row.data = "{\"class\":\"SharedCodeManager.SharedFunctionData\",\"Name\":" + quoted(row.name) +
               ",\"FunctionName\":" + quoted(row.name) + ",\"FileName\":" + quoted(row.name + ".c") +
               "}";
    return row;
}

}  // namespace bench
