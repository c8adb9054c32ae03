#include "RegistrationReport.hpp"

#include <cstdio>

#include <nlohmann/json.hpp>

#include "ValueText.hpp"

namespace scm_tool {

namespace {

using Json = nlohmann::ordered_json;  // members in the order written

Json jsonPlace(const EntryPlace& place) {
    Json json = {{"source", jsonText(place.source)}, {"line", place.line}};
    if (!place.category.empty()) {
        json["category"] = place.category;
        json["key"] = jsonText(place.key);
        json["name"] = jsonText(place.name);
    }
    return json;
}

Json jsonClash(const ReportedEntry& entry) {
    Json json = jsonPlace(entry.place);
    json["differences"] = Json::array();
    for (const Difference& difference : entry.differences) {
        json["differences"].push_back({{"property", difference.property},
                                       {"stored", jsonValue(difference.stored)},
                                       {"offered", jsonValue(difference.offered)}});
    }
    return json;
}

std::string secondsText(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f s", seconds);
    return text;
}

}  // namespace

std::string describeEntry(const EntryPlace& place, const std::string& what) {
    std::string text = place.source + (place.line > 0 ? ":" + std::to_string(place.line) : "") +
                       ": " + what;
    if (!place.category.empty()) {
        text += ": " + place.category + " key " + quotedText(place.key) + " name " +
                quotedText(place.name);
    }
    return text;
}

std::string differenceText(const Difference& difference) {
    return difference.property + ": stored " + displayText(difference.stored) + ", offered " +
           displayText(difference.offered);
}

void RegistrationReport::count(Outcome outcome) {
    switch (outcome) {
        case Outcome::Registered: ++counts_.registered; break;
        case Outcome::Merged: ++counts_.merged; break;
        case Outcome::Unchanged: ++counts_.unchanged; break;
        case Outcome::Clash: ++counts_.clashes; break;
        case Outcome::Error: ++counts_.errors; break;
    }
}

void RegistrationReport::add(ReportedEntry entry) {
    count(entry.outcome);
    reported_.push_back(std::move(entry));
}

void RegistrationReport::setFailure(std::string message) { failure_ = std::move(message); }

ExitCode RegistrationReport::exitCode() const {
    if (counts_.errors > 0 || !failure_.empty()) return kExitError;
    return counts_.clashes > 0 ? kExitFindings : kExitOk;
}

void RegistrationReport::printText(std::ostream& out) const {
    for (const ReportedEntry& entry : reported_) {
        if (entry.outcome == Outcome::Clash) {
            out << describeEntry(entry.place, "clash")
                << ": the stored record refuses the offered one\n";
            for (const Difference& difference : entry.differences) {
                out << "    " << differenceText(difference) << '\n';
            }
        } else {
            out << describeEntry(entry.place, "error") << ": " << entry.message << '\n';
        }
    }
    if (!failure_.empty()) out << failure_ << '\n';
    out << "registered " << counts_.registered << ", merged " << counts_.merged << ", unchanged "
        << counts_.unchanged << ", clashes " << counts_.clashes << ", errors " << counts_.errors
        << " (" << total() << " entries in " << secondsText(seconds_) << ")\n";
}

void RegistrationReport::printJson(std::ostream& out, const std::string& registry) const {
    Json json = {{"registry", jsonText(registry)},   {"entries", total()},
                 {"registered", counts_.registered}, {"merged", counts_.merged},
                 {"unchanged", counts_.unchanged},   {"clashes", counts_.clashes},
                 {"errors", counts_.errors},         {"committed", failure_.empty()},
                 {"seconds", seconds_}};
    json["clashReports"] = Json::array();
    json["errorReports"] = Json::array();
    for (const ReportedEntry& entry : reported_) {
        if (entry.outcome == Outcome::Clash) {
            json["clashReports"].push_back(jsonClash(entry));
        } else {
            Json error = jsonPlace(entry.place);
            error["message"] = jsonText(entry.message);
            json["errorReports"].push_back(std::move(error));
        }
    }
    if (!failure_.empty()) json["failure"] = jsonText(failure_);
    if (failure_.empty() && !run_.empty()) json["run"] = run_;
    out << json.dump(2) << '\n';
}

}  // namespace scm_tool
