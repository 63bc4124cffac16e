#include "veskctl/report_timeline.h"

#include "veskctl/format.h"
#include "veskctl/printable.h"
#include "veskctl/record.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace veskctl {

namespace {

struct Lane {
    const char* severity;
    const char* style;
};

// The worst one on top.
constexpr std::array<Lane, 8> kLanes = {{{"fatal", "critical"},
                                         {"critical", "critical"},
                                         {"major", "critical"},
                                         {"minor", "warning"},
                                         {"warning", "warning"},
                                         {"info", "ok"},
                                         {"other", "ok"},
                                         {"unknown", "unknown"}}};

constexpr unsigned kWidth = 1000;
constexpr unsigned kLeft = 150;  // the lanes' names
constexpr unsigned kRight = 30;
constexpr unsigned kLaneHeight = 30;

std::string severityOf(const Event& event) {
    return event.severity().value_or("unknown");
}

class Timeline {
public:
    explicit Timeline(const std::vector<Event>& events) : m_events(events) {
        for (const Event& event : events) {
            if (event.timeRaw != 0) {
                m_first = m_first == 0 ? event.timeRaw : std::min(m_first, event.timeRaw);
                m_last = std::max(m_last, event.timeRaw);
            }
        }
    }

    std::string render() {
        std::string lanes;
        for (const Lane& lane : kLanes) {
            lanes += laneOf(lane);
        }
        const unsigned height = m_top + 30;
        return format("<svg viewBox=\"0 0 {} {}\" role=\"img\" aria-label=\"{} events from {} to "
                      "{}; the table below lists them\">\n{}{}</svg>\n",
                      kWidth, height, m_events.size(), timeOf(m_first), timeOf(m_last), lanes,
                      axis(height));
    }

private:
    static std::string timeOf(std::uint32_t time) {
        return time == 0 ? "an unknown time" : timeText(time).value_or("an unknown time");
    }

    // Empty if nothing happened there.
    std::string laneOf(const Lane& lane) {
        const auto count =
            std::count_if(m_events.begin(), m_events.end(), [&lane](const Event& event) {
                return severityOf(event) == lane.severity;
            });
        if (count == 0) {
            return "";
        }
        const unsigned y = m_top + kLaneHeight / 2;
        m_top += kLaneHeight;
        std::string text =
            format("<line class=\"lane\" x1=\"{0}\" x2=\"{1}\" y1=\"{2}\" y2=\"{2}\"/>"
                   "<text x=\"0\" y=\"{3}\">{4} ({5})</text>\n<g class=\"{6}\">",
                   kLeft, kWidth - kRight, y, y + 4, lane.severity, count, lane.style);
        unsigned lastX = 0;
        for (const Event& event : m_events) {
            const unsigned x = placeOf(event);
            // One dot stands for all that would cover each other.
            if (severityOf(event) == lane.severity && x != lastX) {
                lastX = x;
                text += format("<circle cx=\"{}\" cy=\"{}\" r=\"5\"><title>{} {}</title></circle>",
                               x, y, event.time().value_or("time not reported"),
                               inHtml(deviceText(event.message, Padding::Trim).value_or("–")));
            }
        }
        return text + "</g>\n";
    }

    // Events without a time stand at the beginning.
    unsigned placeOf(const Event& event) const {
        const std::uint64_t span = m_last - m_first;
        const std::uint64_t since = event.timeRaw == 0 ? 0 : event.timeRaw - m_first;
        return kLeft +
               static_cast<unsigned>(span == 0 ? 0 : since * (kWidth - kLeft - kRight) / span);
    }

    std::string axis(unsigned height) const {
        return format("<text class=\"soft\" x=\"{}\" y=\"{}\">{}</text>"
                      "<text class=\"soft\" x=\"{}\" y=\"{}\" text-anchor=\"end\">{}</text>\n",
                      kLeft, height - 10, timeOf(m_first), kWidth, height - 10,
                      m_last == m_first ? "" : timeOf(m_last));
    }

    const std::vector<Event>& m_events;
    std::uint32_t m_first = 0;
    std::uint32_t m_last = 0;
    unsigned m_top = 0;
};

}  // namespace

std::string timelineOf(const std::vector<Event>& events) {
    return Timeline(events).render();
}

std::string inHtml(const std::string& text, bool lines) {
    std::string markup;
    for (const char character : lines ? escaped(text) : printable(text)) {
        switch (character) {
        case '&':
            markup += "&amp;";
            break;
        case '<':
            markup += "&lt;";
            break;
        case '>':
            markup += "&gt;";
            break;
        case '"':
            markup += "&quot;";
            break;
        default:
            markup += character;
        }
    }
    return markup;
}

}  // namespace veskctl
