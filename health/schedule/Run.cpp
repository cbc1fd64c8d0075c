#include "schedule/Run.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "host/Processes.h"
#include "host/Tools.h"
#include "run/Reserve.h"
#include "run/SideBySide.h"
#include "schedule/CardRun.h"
#include "schedule/Host.h"

namespace zelhealth {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr char kVersion[] = ZELHEALTH_VERSION;
constexpr char kCardsFolder[] = "/sys/class/zel";
constexpr int kLookMilliseconds = 200;

// Ends a run when somebody wishes so, or its time is over.
class Watch {
public:
    Watch(const Stop& wish, std::optional<milliseconds> deadline)
        : wish_(wish), deadline_(deadline), thread_([this] { Wait(); }) {}
    ~Watch() {
        done_.Request();
        thread_.join();
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    const Stop& Ending() const { return stop_; }
    const Stop& AtOnce() const { return now_; }

    std::string Why() const {
        if (Reserve::IsUsed()) {
            return "this host is out of memory";
        }
        return timeIsOver_ ? fmt::format("the run's deadline of {:g} s is over",
                                         std::chrono::duration<double>(*deadline_).count())
                           : "interrupted";
    }

private:
    int MillisecondsLeft(Clock::time_point begin) const {
        constexpr milliseconds kLongest{24L * 3600 * 1000};
        if (!deadline_ || stop_.Requested()) {
            return -1;
        }
        const auto left = std::chrono::ceil<milliseconds>(begin + *deadline_ - Clock::now());
        return static_cast<int>(std::clamp(left, milliseconds(0), kLongest).count());
    }

    void Wait() {
        const Clock::time_point begin = Clock::now();
        while (!done_.Requested() && !now_.Requested()) {
            const Stop* const stronger = wish_.Stronger();
            pollfd events[] = {{done_.Event(), POLLIN, 0},
                               {stop_.Requested() ? -1 : wish_.Event(), POLLIN, 0},
                               {stronger == nullptr ? -1 : stronger->Event(), POLLIN, 0}};
            poll(events, 3, MillisecondsLeft(begin));
            if (events[2].revents != 0) {
                now_.Request();
            } else if (events[1].revents != 0) {
                stop_.Request();
            } else if (MillisecondsLeft(begin) == 0) {
                timeIsOver_ = true;
                stop_.Request();
            }
        }
    }

    const Stop& wish_;
    std::optional<milliseconds> deadline_;
    std::atomic<bool> timeIsOver_{false};
    Stop done_;
    Stop now_;
    Stop stop_{&now_};
    ReserveWatch reserve_{stop_};
    std::thread thread_;
};

// Names of the cards that the driver knows, with their addresses.
std::map<std::string, std::string> DriversCards() {
    std::map<std::string, std::string> cards;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(kCardsFolder, error)) {
        const std::string name = entry.path().filename();
        const bool isCard = name.starts_with("zel") && name.size() > 3 && name.size() < 8 &&
                            name.find_first_not_of("0123456789", 3) == std::string::npos;
        if (isCard) {
            // ".../0000:02:00.0/zel/zel0"
            const auto link = std::filesystem::read_symlink(entry.path(), error);
            cards[name] = link.parent_path().parent_path().filename();
        }
    }
    return cards;
}

int NumberOf(const std::string& card) {
    return std::atoi(card.c_str() + 3);
}

class Run {
public:
    Run(const RunSettings& settings, Outcome& outcome, const std::vector<RecordReader*>& readers,
        const Stop& wish)
        : settings_(settings),
          outcome_(outcome),
          recorder_(readers),
          watch_(wish, settings.deadline ? settings.deadline : settings.plan.deadline),
          access_(ProgramFolder() + "/zelcard", kCardAnswerSeconds),
          locks_(settings.folders.run),
          wedged_(settings.folders.run / "wedged"),
          preflight_(Places(settings)),
          modes_(access_, settings.folders) {}

    Status Do(const std::function<bool()>& streamFailed) {
        const Clock::time_point begin = Clock::now();
        // What earlier runs have left comes first: cards are where they were found before they are looked
        // at.
        const std::vector<Restoration> restored = Recover();
        const CardList list =
            ListCards(access_, watch_.Ending(),
                      [this](const auto& card, const auto& pcie) { return IsAsked(card, pcie); });
        const std::vector<RunCard> cards = Choose(list);
        WriteStarted(list, cards);
        WriteRestored(restored);
        try {
            RunCards(cards, WhatIsInTheWay());
        } catch (const std::exception& fault) {
            Note("setup", fmt::format("the run is not complete: {}", fault.what()), 3);
        }
        if (watch_.Ending().Requested()) {
            Note("stopped", watch_.Why(), 3);
        }
        if (streamFailed()) {
            outcome_.Add(Status::unknown);
        }
        WriteFinished(std::chrono::duration<double>(Clock::now() - begin).count());
        return outcome_.Get();
    }

private:
    static PreflightPlaces Places(const RunSettings& settings) {
        PreflightPlaces places;
        places.tool = settings.tool;
        return places;
    }

    // What there is no time for is left to the next run.
    std::vector<Restoration> Recover() { return modes_.Recover(watch_.Ending()); }

    void Note(const std::string& reason, const std::string& text, int status) {
        recorder_.Write(
            {{"record", "run_note"},
             {"reasons",
              Json::array({{{"reason", reason}, {"text", Bounded(text)}, {"status", status}}})}});
    }

    void WriteRestored(const std::vector<Restoration>& restored) {
        for (const Restoration& card : restored) {
            Note("restored", card.text, card.Status());
        }
    }

    // --- which cards

    bool IsAsked(const std::string& card, const std::string& pcie) const {
        const auto& asked = settings_.cards;
        return asked.empty() || std::find(asked.begin(), asked.end(), card) != asked.end() ||
               (!pcie.empty() && std::find(asked.begin(), asked.end(), pcie) != asked.end());
    }

    static bool Holds(const std::vector<RunCard>& cards, const std::string& name) {
        return std::any_of(cards.begin(), cards.end(), [&name](const RunCard& card) {
            return card.entry.card == name || card.entry.pcie == name;
        });
    }

    // By a run that changes it.
    bool IsHeld(const std::string& card) const {
        const std::vector<LockHolder> holders = locks_.CardHolders(card);
        return std::any_of(holders.begin(), holders.end(), [](const LockHolder& holder) {
            return holder.kind == LockKind::exclusive;
        });
    }

    // A card that the library does not list is missing. Where the library lists none at all, that is not known.
    static RunCard Unlisted(const std::string& name, const CardReply& enumeration) {
        RunCard card;
        card.entry.card = name;
        card.entry.facts = nlohmann::json::object();
        card.entry.kind = enumeration.kind;
        card.entry.error = enumeration.error;
        card.present = enumeration.kind != CardReply::Kind::answered;
        return card;
    }

    // Those of the library, those that only the driver knows, and those that are asked for.
    std::vector<RunCard> Choose(const CardList& list) const {
        std::vector<RunCard> cards;
        for (const CardList::Entry& entry : list.cards) {
            cards.emplace_back().entry = entry;
            cards.back().held = IsHeld(entry.card);
        }
        for (const auto& [name, pcie] : DriversCards()) {
            if (!Holds(cards, name) && IsAsked(name, pcie)) {
                cards.push_back(Unlisted(name, list.enumeration));
                cards.back().entry.pcie = pcie;
            }
        }
        for (const std::string& name : settings_.cards) {
            if (!Holds(cards, name)) {
                cards.push_back(Unlisted(name, list.enumeration));
            }
        }
        if (list.enumeration.Answered()) {
            CompareWithInventory(list, cards);
        }
        for (const WedgedNote& note : wedged_.Living()) {
            for (RunCard& card : cards) {
                card.wedged = card.entry.card == note.card ? note.Text() : card.wedged;
            }
        }
        std::stable_sort(cards.begin(), cards.end(), [](const RunCard& a, const RunCard& b) {
            return NumberOf(a.entry.card) < NumberOf(b.entry.card);
        });
        return cards;
    }

    // How a card of these differs.
    std::vector<Difference> Compare(const RunCard& card, const std::vector<RunCard>& cards) const {
        std::vector<FoundCard> found;
        for (const RunCard& other : cards) {
            found.push_back({other.entry.pcie, other.entry.facts});
        }
        return settings_.inventory.Compare({card.entry.pcie, card.entry.facts}, found);
    }

    // What the inventory has, and this host has not, is missing under its address.
    void CompareWithInventory(const CardList& list, std::vector<RunCard>& cards) const {
        const Inventory& inventory = settings_.inventory;
        for (RunCard& card : cards) {
            if (card.present) {
                card.modeThere = inventory.ModeOf(card.entry.pcie);
                card.differences = Compare(card, cards);
            }
        }
        for (const auto& [pcie, status] : inventory.Missing(Addresses(list))) {
            if (status != 0 && IsAsked("", pcie) && !Holds(cards, pcie)) {
                cards.push_back(Unlisted(pcie, list.enumeration));
                cards.back().entry.pcie = pcie;
                cards.back().missingStatus = status;
            }
        }
    }

    static Json Enumerated(const CardList& list) {
        return list.enumeration.answer.value("cards", Json::array());
    }

    // Of all cards that there are, asked for or not.
    static std::vector<std::string> Addresses(const CardList& list) {
        std::vector<std::string> addresses;
        for (const Json& card : Enumerated(list)) {
            addresses.push_back(card.value("pcie", ""));
        }
        return addresses;
    }

    static Json NamesOf(const std::vector<RunCard>& cards, bool presentOnly) {
        Json names = Json::array();
        for (const RunCard& card : cards) {
            if (card.present || !presentOnly) {
                names.push_back(Bounded(card.entry.card));
            }
        }
        return names;
    }

    Json Versions() const {
        Json versions = {{"zelhealth", kVersion}};
        if (const std::string tool = ToolVersion(settings_.tool, watch_.Ending()); !tool.empty()) {
            versions["zeldiag"] = Bounded(tool);
        }
        return versions;
    }

    void WriteStarted(const CardList& list, const std::vector<RunCard>& cards) {
        recorder_.Write({{"record", "run_started"},
                         {"versions", Versions()},
                         {"plan", Bounded(settings_.plan.name)},
                         {"command", BoundedLines(settings_.command, 100)},
                         {"found", NamesOf(cards, true)},
                         {"expected", NamesOf(cards, false)}});
        using Kind = CardReply::Kind;
        const Kind kind = list.enumeration.kind;
        if (kind == Kind::setup || kind == Kind::broken) {
            Note("setup", "the cards cannot be listed: " + list.enumeration.error, 3);
        } else if (kind == Kind::refused || kind == Kind::silent) {
            Note("no_access", "no access to any card: " + list.enumeration.error, 2);
        } else if (kind == Kind::answered && cards.empty()) {
            Note("no_cards", "this host has no card", 2);
        }
        if (kind == Kind::answered) {
            WriteExpectations(Addresses(list).size());
        }
        for (const WedgedNote& note : wedged_.Living()) {
            resources_.HoldForGood(note.resources, note.Text());
            Note("wedged", note.Text(), 1);
        }
    }

    void WriteExpectations(std::size_t found) {
        const auto expected = settings_.expectedCards;
        if (expected && *expected != found) {
            Note("expected", fmt::format("cards expected: {}; cards here: {}", *expected, found),
                 2);
        } else if (!expected && !settings_.inventory.HasCards()) {
            Note("no_inventory",
                 "there is no inventory of this host, so that nobody notices a card that is "
                 "missing; "
                 "to make one: zelhealth baseline --write",
                 0);
        }
    }

    // --- the tests

    // A tool that somebody else has started would be in the way, and we in its. "" when nothing is.
    std::string WhatIsInTheWay() {
        const Clock::time_point until = Clock::now() + settings_.patience;
        while (true) {
            const std::vector<ToolRun> others = FindForeignTools(settings_.ToolName());
            if (others.empty()) {
                return "";
            }
            if (Clock::now() >= until) {
                std::string running = others.front().Text() + " is running";
                Note("foreign",
                     running + ", which zelhealth did not start; --wait waits for its end", 3);
                return running;
            }
            if (watch_.Ending().WaitFor(kLookMilliseconds)) {
                return watch_.Why();
            }
        }
    }

    void RunCards(const std::vector<RunCard>& cards, const std::string& inTheWay) {
        RunHost host{settings_.tool,
                     settings_.plan,
                     settings_.repeat,
                     cards.size(),
                     settings_.patience,
                     recorder_,
                     locks_,
                     wedged_,
                     preflight_,
                     modes_,
                     access_,
                     settings_.waivers,
                     settings_.configuration,
                     resources_,
                     inTheWay,
                     watch_.Ending(),
                     watch_.AtOnce(),
                     [this, &cards](const RunCard& card) { return Compare(card, cards); },
                     [this] { return watch_.Why(); }};
        const std::size_t jobs =
            settings_.jobs > 0 ? static_cast<std::size_t>(settings_.jobs) : cards.size();
        SideBySide(cards.size(), jobs,
                   [&host, &cards](std::size_t card) { CardRun(host, cards[card]).Run(); });
    }

    void WriteFinished(double seconds) {
        Json counts = Json::object();
        for (const auto& [verdict, count] : outcome_.Counts()) {
            counts[verdict] = count;
        }
        const Status status = outcome_.Get();
        recorder_.Write({{"record", "run_finished"},
                         {"verdict", VerdictOf(status)},
                         {"status", static_cast<int>(status)},
                         {"counts", counts},
                         {"seconds", seconds}});
    }

    const RunSettings& settings_;
    Outcome& outcome_;
    Recorder recorder_;
    Watch watch_;
    ZelCard access_;
    Locks locks_;
    WedgedNotes wedged_;
    Preflight preflight_;
    ModeKeeper modes_;
    Resources resources_;
};

}  // namespace

Status RunPlan(const RunSettings& settings, Outcome& outcome,
               const std::vector<RecordReader*>& readers, const Stop& stop,
               const std::function<bool()>& streamFailed) {
    return Run(settings, outcome, readers, stop).Do(streamFailed);
}

}  // namespace zelhealth
