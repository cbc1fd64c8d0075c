// Tells the system's journal what of a run somebody may look for later: each failed test, each card that is not
// healthy, and how the run ended. `journalctl ZEL_CARD=zel1` finds them; docs/man/zelhealth.8 has all fields. Where the
// system has no journal, nothing happens.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "record/Record.h"

namespace zelhealth {

// A journal that stands still keeps no run from going on: another thread waits for it.
class JournalSender {
public:
    // FIELD=value
    using Entry = std::vector<std::string>;

    JournalSender();
    JournalSender(const JournalSender&) = delete;
    JournalSender& operator=(const JournalSender&) = delete;
    ~JournalSender();  // what has not been taken until then is lost

    void Send(Entry entry);

    // What did not come into the journal, and why where that is known.
    struct Lost {
        std::size_t entries = 0;
        std::string why;
    };

    // Waits for a while. What has not been taken by then, was more than can wait, or was refused.
    Lost Finish();

private:
    struct Shared;
    std::shared_ptr<Shared> shared_;
};

class Journal : public RecordReader {
public:
    void Read(const Json& record) override;

    // After the last record. Gives what people have to know, empty when all is well.
    std::string Close();

private:
    void TellTest(const Json& record);
    void TellCard(const Json& record);
    void TellRun(const Json& record);

    std::map<std::string, std::string> uuids_;  // of cards
    std::string plan_;
    std::string note_;  // the first thing that was found beside cards
    std::vector<std::string> unhealthy_;
    JournalSender sender_;
};

}  // namespace zelhealth
