#include "report/PageText.h"

#include <fmt/format.h>

#include <array>
#include <utility>
#include <vector>

namespace zelhealth {

namespace embedded {
extern const std::string_view page_html;
extern const std::string_view page_css;
extern const std::string_view page_css_sha256;
extern const std::string_view elements_js;
extern const std::string_view elements_js_sha256;
extern const std::string_view history_js;
extern const std::string_view history_js_sha256;
extern const std::string_view fleet_js;
extern const std::string_view fleet_js_sha256;
extern const std::string_view report_js;
extern const std::string_view report_js_sha256;
extern const std::string_view chart_min_js;
extern const std::string_view chart_min_js_sha256;
}  // namespace embedded

namespace {

unsigned Digit(char c) {
    return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'a' + 10);
}

// A hash as a content policy has it.
std::string Base64(std::string_view hex) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr unsigned kSix = 0x3F;
    std::string text;
    unsigned bits = 0;
    int count = 0;
    for (const char c : hex) {
        bits = bits << 4 | Digit(c);
        for (count += 4; count >= 6; count -= 6) {
            text += kDigits[bits >> (count - 6) & kSix];
        }
    }
    text += count > 0 ? std::string(1, kDigits[bits << (6 - count) & kSix]) : "";
    return text.append((4 - text.size() % 4) % 4, '=');
}

struct Script {
    std::string_view text;
    std::string_view sha256;
};

// In the order in which they build on each other.
std::vector<Script> ScriptsOf(Drawing drawing) {
    std::vector<Script> scripts = {{embedded::chart_min_js, embedded::chart_min_js_sha256},
                                   {embedded::elements_js, embedded::elements_js_sha256}};
    if (drawing == Drawing::history) {
        scripts.push_back({embedded::history_js, embedded::history_js_sha256});
    } else {
        scripts.push_back({embedded::fleet_js, embedded::fleet_js_sha256});
        scripts.push_back({embedded::report_js, embedded::report_js_sha256});
    }
    return scripts;
}

}  // namespace

std::string PageText(Drawing drawing, const std::string& data) {
    std::string hashes;
    std::string blocks;
    for (const Script& script : ScriptsOf(drawing)) {
        hashes += fmt::format(" 'sha256-{}'", Base64(script.sha256));
        blocks += fmt::format("<script>{}</script>\n", script.text);
    }
    const std::string policy = fmt::format(
        "default-src 'none'; script-src{}; style-src 'sha256-{}'; base-uri 'none'; form-action "
        "'none'",
        hashes, Base64(embedded::page_css_sha256));
    const std::array<std::pair<std::string_view, std::string_view>, 5> parts = {{
        {"@POLICY@", policy},
        {"@TITLE@", drawing == Drawing::history ? "ZEL cards: history" : "ZEL cards: report"},
        {"@STYLE@", embedded::page_css},
        {"@DATA@", data},
        {"@SCRIPTS@", blocks},
    }};
    std::string text;
    std::string_view rest = embedded::page_html;
    for (const auto& [place, part] : parts) {
        const std::size_t at = rest.find(place);
        text.append(rest.substr(0, at)).append(part);
        rest.remove_prefix(at + place.size());
    }
    return text.append(rest);
}

}  // namespace zelhealth
