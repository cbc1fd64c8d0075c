#include "readers/LiveView.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/Printable.h"
#include "readers/Colours.h"

namespace zelhealth {

namespace {

constexpr std::chrono::milliseconds kRedraw{250};
constexpr std::size_t kWidestBar = 24;

// Besides the bar: "zel12  dma.vdl2h  [" "]  12/16  123 s of 456 s"
constexpr std::size_t kBesideBar = 46;
constexpr std::size_t kNarrowestBar = 4;

double Seconds(LiveLines::Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

std::string Bar(double part, std::size_t width) {
    const auto full =
        static_cast<std::size_t>(std::clamp(part, 0.0, 1.0) * static_cast<double>(width));
    return "[" + std::string(full, '#') + std::string(width - full, '.') + "]";
}

std::string TestOf(const Json& record) {
    return Printable(record.value("group", "") + "." + record.value("test", ""));
}

}  // namespace

LiveLines::Card& LiveLines::CardOf(const Json& record) {
    const std::string name = Printable(record.value("card", ""));
    auto place = std::find_if(cards_.begin(), cards_.end(),
                              [&name](const Card& known) { return !ComesFirst(known.name, name); });
    if (place == cards_.end() || place->name != name) {
        place = cards_.insert(place, Card());
        place->name = name;
    }
    return *place;
}

void LiveLines::Read(const Json& record, Clock::time_point now) {
    const std::string kind = record.value("record", "");
    if (kind == "card_started") {
        Card& card = CardOf(record);
        card.tests = record.value("tests", std::size_t{0});
        card.expectedSeconds = record.value("expected_seconds", 0.0);
        card.began = now;
    } else if (kind == "test_started") {
        CardOf(record).running.push_back(
            {TestOf(record), record.value("expected_seconds", 0.0), -1, now});
    } else if (kind == "test_progress") {
        for (Running& running : CardOf(record).running) {
            if (running.test == TestOf(record)) {
                running.percent = record.value("percent", -1);
            }
        }
    } else if (kind == "test_finished") {
        Card& card = CardOf(record);
        ++card.done;
        const auto running =
            std::find_if(card.running.begin(), card.running.end(),
                         [&record](const Running& one) { return one.test == TestOf(record); });
        if (running != card.running.end()) {
            card.doneSeconds += running->expected;
            card.running.erase(running);
        }
        const std::string verdict = record.value("verdict", "");
        if (card.trouble.empty() && verdict != "passed" && verdict != "unsupported") {
            card.trouble = record.value("group", "") + "." + record.value("test", "") + " " +
                           verdict + ": " + Printable(record.value("reason", ""));
        }
    } else if (kind == "card_finished") {
        Card& card = CardOf(record);
        card.verdict = record.value("verdict", "");
        card.seconds = Seconds(now - card.began);
        const Json reasons = record.value("reasons", Json::array());
        if (card.trouble.empty() && !reasons.empty()) {
            card.trouble = Printable(reasons.front().value("text", ""));
        }
    }
}

std::string LiveLines::DrawCard(const Card& card, std::size_t columns, bool colours,
                                Clock::time_point now) const {
    if (!card.verdict.empty()) {
        std::string line =
            CutTo(fmt::format("{:<6} {:<9} {}/{}  {:.0f} s  {}", card.name, card.verdict, card.done,
                              card.tests, card.seconds, card.trouble),
                  columns);
        constexpr std::size_t kVerdictBegins = 7;
        const std::size_t length = card.verdict.size();
        if (line.size() < kVerdictBegins + length) {
            return line;
        }
        return line.substr(0, kVerdictBegins) +
               Coloured(line.substr(kVerdictBegins, length), card.verdict, colours) +
               line.substr(kVerdictBegins + length);
    }
    double doneSeconds = card.doneSeconds;
    for (const Running& running : card.running) {
        const double gone = Seconds(now - running.began);
        doneSeconds += running.percent >= 0 ? running.expected * running.percent / 100.0
                                            : std::min(gone, running.expected);
    }
    const double all = card.expectedSeconds > 0 ? doneSeconds / card.expectedSeconds : 0;
    const std::size_t room = columns > kBesideBar ? columns - kBesideBar : 0;
    const std::size_t width = std::min(room, kWidestBar);
    std::string line = fmt::format("{:<6} {:<9} ", card.name,
                                   card.running.empty() ? "waits" : card.running.front().test);
    if (width >= kNarrowestBar) {
        line += Bar(all, width) + " ";
    }
    const double gone = Seconds(now - card.began);
    line += fmt::format("{:>2}/{}  {:.0f} s", card.done, card.tests, gone);
    line +=
        gone <= card.expectedSeconds ? fmt::format(" of {:.0f} s", card.expectedSeconds) : ", late";
    if (!card.trouble.empty()) {
        line += "  " + card.trouble;
    }
    return CutTo(line, columns);
}

std::vector<std::string> LiveLines::Draw(std::size_t rows, std::size_t columns, bool colours,
                                         Clock::time_point now) const {
    std::vector<std::string> lines;
    if (rows == 0) {
        return lines;
    }
    const bool all = cards_.size() <= rows;
    // Where there is no room for all, those that still run are shown.
    for (const Card& card : cards_) {
        if (all || (card.verdict.empty() && lines.size() + 1 < rows)) {
            lines.push_back(DrawCard(card, columns, colours, now));
        }
    }
    if (!all) {
        const auto done = std::count_if(cards_.begin(), cards_.end(),
                                        [](const Card& card) { return !card.verdict.empty(); });
        lines.push_back(
            CutTo(fmt::format("{} of {} cards are done", done, cards_.size()), columns));
    }
    return lines;
}

LiveView::LiveView(std::FILE* terminal, bool colours)
    : terminal_(terminal), colours_(colours), drawn_(terminal) {
    thread_ = std::thread([this] {
        std::unique_lock lock(mutex_);
        while (!closed_.wait_for(lock, kRedraw, [this] { return isClosed_; })) {
            Draw();
        }
        drawn_.Erase();
    });
}

LiveView::~LiveView() {
    Close();
}

void LiveView::Read(const Json& record) {
    const std::lock_guard lock(mutex_);
    lines_.Read(record, LiveLines::Clock::now());
}

void LiveView::Close() {
    {
        const std::lock_guard lock(mutex_);
        isClosed_ = true;
    }
    closed_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void LiveView::Draw() {
    const TerminalSize size = SizeOf(terminal_);
    // The last column is left free: some terminals begin a new line behind it.
    drawn_.Draw(lines_.Draw(size.rows - 1, size.columns - 1, colours_, LiveLines::Clock::now()));
}

}  // namespace zelhealth
