#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "SCMData.hpp"
#include "SCMIdentity.hpp"

namespace scm_tool {

// What a registry shares: its entries per category and, for the records that name the models
// using them (utility records: their model names and the model of each traceability entry
// "<model>:<location>"), how many models share each piece. Memory stays bounded whatever the
// registry's size: counts, the models named, and only the `top` most shared pieces are kept.
class ReuseStats {
public:
    // A piece whose record names its models.
    struct Piece {
        SCM::SCMTypes category;
        std::string key;
        std::string name;
        std::set<std::string> models;
        std::size_t traceability;  // entries of its traceability set
        std::uint64_t order;       // when it was added: the last tie-break
    };

    // Keeps the `top` most shared pieces for mostShared().
    explicit ReuseStats(std::size_t top);

    void add(SCM::SCMIdentity& identity, SCM::SCMData& data);

    std::size_t entries(SCM::SCMTypes type) const;
    std::size_t total() const { return total_; }
    // Every model that some piece names, ascending.
    const std::set<std::string>& models() const { return models_; }
    // How many pieces name their models.
    std::size_t pieces() const { return pieces_; }
    // The `top` most shared pieces, the most shared first (ties by category, then name, then the
    // order they were added in).
    std::vector<Piece> mostShared() const;
    // For each number of models, how many pieces that many models share.
    const std::map<std::size_t, std::size_t>& piecesPerModelCount() const { return perModelCount_; }

    // The models `data` names; empty for records that do not carry them.
    static std::set<std::string> modelsOf(SCM::SCMData& data);
    // Calls `visit` with each model `data` names, as often as it names it (never an empty name).
    static void forEachModelOf(const SCM::SCMData& data, const std::function<void(std::string_view)>& visit);

private:
    // Whether `a` comes before `b` in mostShared().
    static bool moreShared(const Piece& a, const Piece& b);

    std::size_t top_;
    std::map<SCM::SCMTypes, std::size_t> entries_;
    std::size_t total_ = 0;
    std::size_t pieces_ = 0;
    std::set<std::string> models_;
    std::map<std::size_t, std::size_t> perModelCount_;
    std::vector<Piece> heap_;  // the most shared so far, the least of them on top
};

}  // namespace scm_tool
