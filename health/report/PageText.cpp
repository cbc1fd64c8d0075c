#include "report/PageText.h"

#include <fmt/format.h>

#include <array>

namespace zelhealth {

namespace embedded {
extern const std::string_view page_html;
extern const std::string_view page_css;
extern const std::string_view page_css_sha256;
extern const std::string_view elements_js;
extern const std::string_view elements_js_sha256;
extern const std::string_view history_js;
extern const std::string_view history_js_sha256;
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

std::string Policy(std::string_view scriptHash) {
    return fmt::format(
        "default-src 'none'; script-src 'sha256-{}' 'sha256-{}' 'sha256-{}'; style-src "
        "'sha256-{}'; "
        "base-uri 'none'; form-action 'none'",
        Base64(embedded::chart_min_js_sha256), Base64(embedded::elements_js_sha256),
        Base64(scriptHash), Base64(embedded::page_css_sha256));
}

}  // namespace

std::string PageText(Drawing drawing, const std::string& data) {
    const bool history = drawing == Drawing::history;
    const std::string policy =
        Policy(history ? embedded::history_js_sha256 : embedded::report_js_sha256);
    const std::array<std::pair<std::string_view, std::string_view>, 7> parts = {{
        {"@POLICY@", policy},
        {"@TITLE@", history ? "ZEL cards: history" : "ZEL cards: report"},
        {"@STYLE@", embedded::page_css},
        {"@DATA@", data},
        {"@CHART@", embedded::chart_min_js},
        {"@ELEMENTS@", embedded::elements_js},
        {"@SCRIPT@", history ? embedded::history_js : embedded::report_js},
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
