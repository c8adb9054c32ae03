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

void RegistrationReport::count(Outcome outcome) {
    switch (outcome) {
        case Outcome::Registered: ++registered_; break;
        case Outcome::Merged: ++merged_; break;
        case Outcome::Clash: ++clashes_; break;
        case Outcome::Error: ++errors_; break;
    }
}

void RegistrationReport::add(ReportedEntry entry) {
    count(entry.outcome);
    reported_.push_back(std::move(entry));
}

void RegistrationReport::setFailure(std::string message) { failure_ = std::move(message); }

std::uint64_t RegistrationReport::total() const {
    return registered_ + merged_ + clashes_ + errors_;
}

ExitCode RegistrationReport::exitCode() const {
    if (errors_ > 0 || !failure_.empty()) return kExitError;
    return clashes_ > 0 ? kExitFindings : kExitOk;
}

void RegistrationReport::printText(std::ostream& out) const {
    for (const ReportedEntry& entry : reported_) {
        if (entry.outcome == Outcome::Clash) {
            out << describeEntry(entry.place, "clash")
                << ": the stored record refuses the offered one\n";
            for (const Difference& difference : entry.differences) {
                out << "    " << difference.property << ": stored "
                    << displayText(difference.stored) << ", offered "
                    << displayText(difference.offered) << '\n';
            }
        } else {
            out << describeEntry(entry.place, "error") << ": " << entry.message << '\n';
        }
    }
    if (!failure_.empty()) out << failure_ << '\n';
    out << "registered " << registered_ << ", merged " << merged_ << ", clashes " << clashes_
        << ", errors " << errors_ << " (" << total() << " entries in " << secondsText(seconds_)
        << ")\n";
}

void RegistrationReport::printJson(std::ostream& out, const std::string& registry) const {
    Json json = {{"registry", jsonText(registry)}, {"entries", total()},
                 {"registered", registered_},      {"merged", merged_},
                 {"clashes", clashes_},            {"errors", errors_},
                 {"committed", failure_.empty()},  {"seconds", seconds_}};
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
    out << json.dump(2) << '\n';
}

}  // namespace scm_tool
