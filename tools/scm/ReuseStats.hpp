#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "SCMData.hpp"
#include "SCMIdentity.hpp"

namespace scm_tool {

// What a registry shares: its entries per category and, for the records that name the models
// using them (utility records: their model names and the model of each traceability entry
// "<model>:<location>"), how many models share each piece.
class ReuseStats {
public:
    // A piece whose record names its models.
    struct Piece {
        SCM::SCMTypes category;
        std::string key;
        std::string name;
        std::set<std::string> models;
        std::size_t traceability;  // entries of its traceability set
    };

    void add(SCM::SCMIdentity& identity, SCM::SCMData& data);

    std::size_t entries(SCM::SCMTypes type) const;
    std::size_t total() const { return total_; }
    // Every model that some piece names, ascending.
    std::set<std::string> models() const;
    // The pieces that name their models, the most shared first (ties by category, then name).
    std::vector<Piece> mostShared() const;
    // For each number of models, how many pieces that many models share.
    std::map<std::size_t, std::size_t> piecesPerModelCount() const;

    // The models `data` names; empty for records that do not carry them.
    static std::set<std::string> modelsOf(SCM::SCMData& data);

private:
    std::map<SCM::SCMTypes, std::size_t> entries_;
    std::size_t total_ = 0;
    std::vector<Piece> pieces_;
};

}  // namespace scm_tool
