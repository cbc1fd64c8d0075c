// The end of a run for people: a table of the cards, and for each failure what was seen, what it means and
// what to do next. What several cards or tests say alike is said once.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "catalogue/Messages.h"
#include "readers/Outcome.h"
#include "record/Record.h"

namespace zelhealth {

class Report : public RecordReader {
public:
    void Read(const Json& record) override;

    // For so many columns; with colours where these are wanted.
    std::string Text(std::size_t columns, bool colours) const;

private:
    struct Card {
        std::string name;
        std::string pcie;
        std::string verdict;  // empty while it runs
        std::map<std::string, int> counts;
        double seconds = 0;
    };

    // What is not as it should be: tests of one verdict and reason, or what is said of cards, or of this host.
    struct Trouble {
        Status status = Status::ok;
        std::string verdict;
        std::string seen;
        std::string note;  // of a waiver
        std::string mend;
        std::vector<std::string> messages;
        std::vector<std::string> cards;
        std::vector<std::string> tests;  // none: the card itself

        bool IsLike(const Trouble& other) const;
    };

    Card& CardOf(const Json& record);
    void AddTest(const Json& record);
    void AddReasons(const Json& reasons, const std::string& card);
    void Add(Trouble trouble);
    std::vector<Trouble> WorstFirst() const;
    std::string VerdictOf(const Card& card) const;
    std::string Table(std::size_t columns, bool colours) const;
    static Advice AdviceOf(const Trouble& trouble);
    std::string TroubleText(const Trouble& trouble, std::size_t columns, bool colours) const;
    std::string Close() const;
    static std::string More(const std::vector<Trouble>& troubles);

    std::vector<Card> cards_;  // in their order, in which they do not come
    std::vector<Trouble> troubles_;
    std::vector<std::string> notes_;
    Json finished_;
};

}  // namespace zelhealth
