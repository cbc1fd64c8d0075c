#include "report/Page.h"

#include <fmt/format.h>

#include <array>

#include "report/PageData.h"

namespace zelhealth {

namespace embedded {
extern const std::string_view page_html;
extern const std::string_view page_css;
extern const std::string_view page_css_sha256;
extern const std::string_view page_js;
extern const std::string_view page_js_sha256;
extern const std::string_view chart_min_js;
extern const std::string_view chart_min_js_sha256;
}  // namespace embedded

namespace {

// Files that are mailed, and opened at once.
constexpr std::size_t kLargest = 4900UL * 1000;
constexpr std::size_t kLargestOfEight = 390UL * 1000;
constexpr std::size_t kEight = 8;

std::size_t LargestOf(const Json& rows, bool many) {
    if (many) {
        return kLargest;
    }
    const std::size_t eights = (rows.size() + kEight - 1) / kEight;
    return kLargestOfEight * std::max<std::size_t>(eights, 1);
}

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

std::string Policy() {
    return fmt::format(
        "default-src 'none'; script-src 'sha256-{}' 'sha256-{}'; style-src 'sha256-{}'; "
        "base-uri 'none'; form-action 'none'",
        Base64(embedded::chart_min_js_sha256), Base64(embedded::page_js_sha256),
        Base64(embedded::page_css_sha256));
}

}  // namespace

class PageRun : public RunReader {
public:
    PageRun(Page& page, RunName name) : page_(page), name_(std::move(name)) {}

    void Read(const Json& record) override {
        end_.Read(record);
        if (!page_.many_) {
            cells_.Read(record);
        }
    }

    void End() override {
        page_.many_ = page_.many_ || page_.rows_.size() + cells_.Cards().size() > Page::kFew;
        if (page_.many_) {
            page_.rows_ = Json::array();
            return;
        }
        for (Json& row : RowsOf(name_, end_, cells_)) {
            page_.rows_.push_back(std::move(row));
        }
    }

private:
    Page& page_;
    RunName name_;
    RunEnd end_;
    Cells cells_;
};

Page::Page(const std::string& file, const Summary& summary, const Problems& problems)
    : file_(file), summary_(summary), problems_(problems) {}

std::unique_ptr<RunReader> Page::Begin(const RunName& name) {
    return std::make_unique<PageRun>(*this, name);
}

void Page::Close() {
    const std::size_t own = PageText("").size();
    file_.Write(PageText(
        PageData(summary_, problems_, many_ ? Json() : rows_, LargestOf(rows_, many_) - own)));
    file_.Commit();
}

std::string PageText(const std::string& data) {
    const std::string policy = Policy();
    const std::array<std::pair<std::string_view, std::string_view>, 5> parts = {{
        {"@POLICY@", policy},
        {"@STYLE@", embedded::page_css},
        {"@DATA@", data},
        {"@CHART@", embedded::chart_min_js},
        {"@SCRIPT@", embedded::page_js},
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
