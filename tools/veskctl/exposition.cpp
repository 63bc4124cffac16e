#include "veskctl/exposition.h"

#include "veskctl/format.h"
#include "veskctl/printable.h"

namespace veskctl {

namespace {

// Made printable, too: the format wants UTF-8.
std::string labelValue(const std::string& text) {
    std::string escaped;
    for (const char character : printable(text)) {
        if (character == '\\' || character == '"') {
            escaped += '\\';
        }
        escaped += character;
    }
    return escaped;
}

}  // namespace

void Family::add(const Labels& labels, double value) {
    std::string inside;
    for (const auto& [name, text] : labels) {
        inside += format("{}{}=\"{}\"", inside.empty() ? "" : ",", name, labelValue(text));
    }
    m_series += m_name + (inside.empty() ? "" : "{" + inside + "}") + format(" {}\n", value);
}

std::string Family::text() const {
    if (m_series.empty()) {
        return "";
    }
    return format("# HELP {} {}\n# TYPE {} gauge\n{}", m_name, m_help, m_name, m_series);
}

Family& Exposition::gauge(const std::string& name, const std::string& help) {
    return m_families.emplace_back(name, help);
}

std::string Exposition::text() const {
    std::string text;
    for (const Family& family : m_families) {
        text += family.text();
    }
    return text;
}

}  // namespace veskctl
