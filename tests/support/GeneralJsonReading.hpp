#pragma once

#include <string>

#include "kobj/EncodingReader.hpp"

namespace kobjtest {

// The whole-object encoding read by a general JSON parser (nlohmann/json's event interface): the
// oracle that the platform's one-pass reader must agree with. Member names come back as the
// parser delivers them (UTF-8); everything else as readEncodedObject documents.
bool readWithGeneralParser(const std::string& text, kobj::EncodedObject& object);

}  // namespace kobjtest
