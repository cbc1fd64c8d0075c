// What a person sees while a run goes on: one line a card, with its test, how far it is, and the time gone
// and expected. The lines are drawn again and again in their place; what is said otherwise is said when
// they have gone.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "readers/DrawnLines.h"
#include "record/Record.h"

namespace zelhealth {

// The state of a run at a moment, as lines. Knows no terminal.
class LiveLines {
public:
    using Clock = std::chrono::steady_clock;

    void Read(const Json& record, Clock::time_point now);

    // No more lines than `rows`, none longer than `columns`.
    std::vector<std::string> Draw(std::size_t rows, std::size_t columns, bool colours,
                                  Clock::time_point now) const;

private:
    struct Running {
        std::string test;  // "pcie.vlw"
        double expected = 0;
        int percent = -1;  // the tool's own
        Clock::time_point began;
    };

    struct Card {
        std::string name;
        std::size_t tests = 0;
        std::size_t done = 0;
        double expectedSeconds = 0;
        double doneSeconds = 0;  // expected of what is done
        std::vector<Running> running;
        Clock::time_point began;
        double seconds = 0;   // in all, once it has finished
        std::string trouble;  // the first failure
        std::string verdict;  // once it has finished
    };

    std::string DrawCard(const Card& card, std::size_t columns, bool colours,
                         Clock::time_point now) const;
    Card& CardOf(const Json& record);

    std::vector<Card> cards_;
};

class LiveView : public RecordReader {
public:
    // Draws on a terminal, until it goes or is closed.
    LiveView(std::FILE* terminal, bool colours);
    ~LiveView() override;

    void Read(const Json& record) override;

    // Takes the lines away.
    void Close();

private:
    void Draw();

    std::FILE* terminal_;
    bool colours_;
    std::mutex mutex_;
    std::condition_variable closed_;
    bool isClosed_ = false;
    LiveLines lines_;
    DrawnLines drawn_;
    std::thread thread_;
};

}  // namespace zelhealth
