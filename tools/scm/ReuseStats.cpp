#include "ReuseStats.hpp"

#include <algorithm>

#include "SCMBasicUtilityData.hpp"

namespace scm_tool {

ReuseStats::ReuseStats(std::size_t top) : top_(top) {}

void ReuseStats::add(SCM::SCMIdentity& identity, SCM::SCMData& data) {
    ++entries_[identity.getType()];
    ++total_;
    const auto* utility = dynamic_cast<const SCM::SCMBasicUtilityData*>(&data);
    if (utility == nullptr) return;
    std::set<std::string> models = modelsOf(data);
    ++perModelCount_[models.size()];
    models_.insert(models.begin(), models.end());
    Piece piece{identity.getType(), "",      data.getName(), std::move(models),
                utility->getTraceabilitySet().size(), pieces_++};
    if (top_ == 0 || (heap_.size() == top_ && !moreShared(piece, heap_.front()))) return;
    piece.key = identity.getChecksum();
    heap_.push_back(std::move(piece));
    std::push_heap(heap_.begin(), heap_.end(), moreShared);
    if (heap_.size() <= top_) return;
    std::pop_heap(heap_.begin(), heap_.end(), moreShared);
    heap_.pop_back();
}

std::size_t ReuseStats::entries(SCM::SCMTypes type) const {
    const auto found = entries_.find(type);
    return found == entries_.end() ? 0 : found->second;
}

std::vector<ReuseStats::Piece> ReuseStats::mostShared() const {
    std::vector<Piece> sorted = heap_;
    std::sort(sorted.begin(), sorted.end(), moreShared);
    return sorted;
}

bool ReuseStats::moreShared(const Piece& a, const Piece& b) {
    if (a.models.size() != b.models.size()) return a.models.size() > b.models.size();
    if (a.category != b.category) return a.category < b.category;
    if (a.name != b.name) return a.name < b.name;
    return a.order < b.order;
}

std::set<std::string> ReuseStats::modelsOf(SCM::SCMData& data) {
    std::set<std::string> models;
    forEachModelOf(data, [&models](std::string_view model) { models.emplace(model); });
    return models;
}

void ReuseStats::forEachModelOf(const SCM::SCMData& data,
                                const std::function<void(std::string_view)>& visit) {
    const auto* utility = dynamic_cast<const SCM::SCMBasicUtilityData*>(&data);
    if (utility == nullptr) return;
    for (const std::string& model : utility->getModelNames()) {
        if (!model.empty()) visit(model);
    }
    for (const std::string& entry : utility->getTraceabilitySet()) {
        const std::size_t colon = entry.find(':');
        if (colon != std::string::npos && colon > 0) visit(std::string_view(entry).substr(0, colon));
    }
}

}  // namespace scm_tool
