#include "report/Text.h"

#include <fmt/format.h>

#include "host/Print.h"
#include "readers/Report.h"
#include "readers/Wrap.h"
#include "record/Fields.h"
#include "report/Cells.h"
#include "report/SummaryText.h"

namespace zelhealth {

// Hands a run's records to its closing report, as long as there are few.
class TextRun : public RunReader {
public:
    TextRun(Text& text, RunName name) : text_(text), name_(std::move(name)) {}

    void Read(const Json& record) override {
        const std::string& kind = TextOf(record, "record");
        if (kind == "run_started") {
            plan_ = ShortName(TextOf(record, "plan"));
        }
        const std::string& card = TextOf(record, "card");
        if (text_.AreFew() && !card.empty() && cards_.insert(card).second) {
            ++text_.cards_;
        }
        if (!text_.AreFew()) {
            return;
        }
        const bool trouble = kind == "run_note" || kind == "card_finished" ||
                             (kind == "test_finished" && StatusOfTest(record) != Status::ok);
        troubles_ += trouble ? 1 : 0;
        if (!trouble || troubles_ <= kMostTroubles) {
            report_.Read(record);
        }
    }

    void End() override {
        if (!text_.AreFew()) {
            text_.reports_ = {};
            return;
        }
        const std::string title =
            fmt::format("host {}, run {}, plan {}", ShortName(name_.host), ShortName(name_.run),
                        plan_.empty() ? "not known" : plan_);
        text_.reports_ += text_.reports_.empty() ? "" : "\n";
        text_.reports_ +=
            Wrap(title, text_.columns_, 2) + "\n\n" + report_.Text(text_.columns_, text_.colours_);
        if (troubles_ > kMostTroubles) {
            text_.reports_ +=
                fmt::format("{} more that did not pass are left out\n", troubles_ - kMostTroubles);
        }
    }

private:
    // More than any plan has that a person looks at.
    static constexpr std::size_t kMostTroubles = 1000;

    Text& text_;
    RunName name_;
    std::string plan_;
    std::set<std::string> cards_;
    std::size_t troubles_ = 0;
    Report report_;
};

Text::Text(std::FILE* out, std::size_t columns, bool colours, const Summary& summary)
    : out_(out), columns_(columns), colours_(colours), summary_(summary) {}

std::unique_ptr<RunReader> Text::Begin(const RunName& name) {
    ++runs_;
    return std::make_unique<TextRun>(*this, name);
}

void Text::Close() {
    const bool few = AreFew();
    Print(out_, few ? reports_ : "");
    if (!few || runs_ > 1) {
        Print(out_, (few ? "\n" : "") + SummaryText(summary_, columns_, colours_));
    }
}

}  // namespace zelhealth
