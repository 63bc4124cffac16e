// The text format in which Prometheus takes metrics.
#pragma once

#include <list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace veskctl {

using Labels = std::vector<std::pair<std::string, std::string>>;

// A family of gauges.
class Family {
public:
    Family(std::string name, std::string help) : m_name(std::move(name)), m_help(std::move(help)) {}

    void add(const Labels& labels, double value);

    template <class Value>
    void addIf(const Labels& labels, const std::optional<Value>& value) {
        if (value) {
            add(labels, static_cast<double>(*value));
        }
    }

    // Nothing without a series.
    std::string text() const;

private:
    std::string m_name;
    std::string m_help;
    std::string m_series;
};

class Exposition {
public:
    // Stays where it is while others are added.
    Family& gauge(const std::string& name, const std::string& help);
    std::string text() const;

private:
    std::list<Family> m_families;
};

}  // namespace veskctl
