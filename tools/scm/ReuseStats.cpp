#include "ReuseStats.hpp"

#include <algorithm>

#include "SCMBasicUtilityData.hpp"

namespace scm_tool {

void ReuseStats::add(SCM::SCMIdentity& identity, SCM::SCMData& data) {
    ++entries_[identity.getType()];
    ++total_;
    const auto* utility = dynamic_cast<const SCM::SCMBasicUtilityData*>(&data);
    if (utility == nullptr) return;
    pieces_.push_back({identity.getType(), identity.getChecksum(), data.getName(), modelsOf(data),
                       utility->getTraceabilitySet().size()});
}

std::size_t ReuseStats::entries(SCM::SCMTypes type) const {
    const auto found = entries_.find(type);
    return found == entries_.end() ? 0 : found->second;
}

std::set<std::string> ReuseStats::models() const {
    std::set<std::string> all;
    for (const Piece& piece : pieces_) all.insert(piece.models.begin(), piece.models.end());
    return all;
}

std::vector<ReuseStats::Piece> ReuseStats::mostShared() const {
    std::vector<Piece> sorted = pieces_;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Piece& a, const Piece& b) {
        if (a.models.size() != b.models.size()) return a.models.size() > b.models.size();
        if (a.category != b.category) return a.category < b.category;
        return a.name < b.name;
    });
    return sorted;
}

std::map<std::size_t, std::size_t> ReuseStats::piecesPerModelCount() const {
    std::map<std::size_t, std::size_t> counts;
    for (const Piece& piece : pieces_) ++counts[piece.models.size()];
    return counts;
}

std::set<std::string> ReuseStats::modelsOf(SCM::SCMData& data) {
    std::set<std::string> models;
    const auto* utility = dynamic_cast<const SCM::SCMBasicUtilityData*>(&data);
    if (utility == nullptr) return models;
    for (const std::string& model : utility->getModelNames()) {
        if (!model.empty()) models.insert(model);
    }
    for (const std::string& entry : utility->getTraceabilitySet()) {
        const std::size_t colon = entry.find(':');
        if (colon != std::string::npos && colon > 0) models.insert(entry.substr(0, colon));
    }
    return models;
}

}  // namespace scm_tool
