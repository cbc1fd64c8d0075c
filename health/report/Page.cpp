#include "report/Page.h"

#include <algorithm>

#include "report/PageData.h"
#include "report/PageText.h"

namespace zelhealth {

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

Page::Page(const std::string& file, const Summary& summary, const Problems& problems,
           std::function<Json()> fleet)
    : file_(file), summary_(summary), problems_(problems), fleet_(std::move(fleet)) {}

std::unique_ptr<RunReader> Page::Begin(const RunName& name) {
    return std::make_unique<PageRun>(*this, name);
}

void Page::Close() {
    const std::size_t own = PageText(Drawing::report, "").size();
    // A fleet's nodes are many, whatever its cards are.
    const std::size_t largest = LargestOf(rows_, many_ || fleet_);
    const Json fleet = fleet_ ? fleet_() : Json();
    file_.Write(PageText(Drawing::report, PageData(summary_, problems_, many_ ? Json() : rows_,
                                                   fleet, largest - own)));
    file_.Commit();
}

}  // namespace zelhealth
