#include "veskctl/unlisted_events.h"

#include "veskctl/format.h"
#include "veskctl/record.h"

#include <map>
#include <utility>

namespace veskctl {

namespace {

using ByCode = std::map<std::pair<unsigned, unsigned>, std::vector<Event>>;

ByCode byCode(const std::vector<Event>& unlisted) {
    ByCode sorted;
    for (const Event& event : unlisted) {
        sorted[{event.classCode, event.code}].push_back(event);
    }
    return sorted;
}

std::string nameOf(const Event& event) {
    return format("code {} of class {}", event.code,
                  event.className().value_or(format("{}", event.classCode)));
}

std::string lastOf(const Event& event) {
    return format("'{}', severity {}", deviceText(event.message, Padding::Trim).value_or("-"),
                  event.severity().value_or("unknown"));
}

}  // namespace

std::string describeUnlisted(const std::vector<Event>& unlisted, const std::string& path) {
    std::string codes;
    for (const auto& [key, alike] : byCode(unlisted)) {
        codes += format("{}{} ({}, last {})", codes.empty() ? "" : ", ", nameOf(alike.back()),
                        alike.size(), lastOf(alike.back()));
    }
    return format(
        "{} {} not reported, since {} has no row for {}; 'veskctl doctor' says what to do",
        unlisted.size(), unlisted.size() == 1 ? "event is" : "events are", path, codes);
}

std::vector<Finding> findUnlisted(const std::vector<Event>& unlisted, const std::string& path) {
    std::vector<Finding> findings;
    for (const auto& [key, alike] : byCode(unlisted)) {
        const Event& last = alike.back();
        const bool one = alike.size() == 1;
        findings.push_back(
            {Severity::Warning, "mapping_row_missing", path, std::nullopt,
             format("there is no row for {}, so {} {} that the controller holds {} not reported, "
                    "the last one {}",
                    nameOf(last), alike.size(), one ? "event" : "events", one ? "is" : "are",
                    lastOf(last)),
             format("write {}=CODE in {}, or {}=65535 if it is not wanted", last.code,
                    last.className() ? "its section" : "a section []", last.code)});
    }
    return findings;
}

}  // namespace veskctl
