// What the tool prints, taken apart: the one reader of its report for all that judge a run by it.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

// How often `part` stands in `text`.
std::size_t Times(std::string_view text, std::string_view part);

// All texts are pieces of the output that the reader was given, and live as long as that does.
class Report {
public:
    using Text = std::string_view;

    struct Card {
        Text text;                   // from the end of the card before up to its status
        std::vector<Text> verdicts;  // the lines of tests, groups and the card, in order
        Text status;                 // such as "OK"

        bool Failed() const;
    };

    enum class Result { Passed, Failed, Unreadable };
    struct CardInSummary {
        Text name;  // such as "zel0"
        Result result;
        std::vector<Text> errors;  // without their indent
    };

    // A test's failure as it is told at once.
    struct Failure {
        Text
            group;  // as it stands in the line with which the group begins; empty: outside of every group
        unsigned test;  // counted from 1
        Text reason;
    };

    explicit Report(Text out);

    std::vector<Card> cards;
    std::vector<Text> verdicts;  // of the whole output
    std::vector<Failure> failures;

    // What follows the last card.
    Text rest;
    std::vector<CardInSummary> summary;
    bool listsCardsWithErrors = false;
};

// Whether a line of a test, a group or a card says that it failed.
bool IsFailure(Report::Text verdict);
