// zelcard: asks the card-access library about cards, for programs that must not hang with it.
//
//   zelcard facts              the cards that the library enumerates; none is opened
//   zelcard facts CARD         what one card tells
//   zelcard mode CARD          its usage mode
//   zelcard set-mode CARD MODE asks it to move, and tells the mode in which it is then
//
// Prints one JSON object on one line. Exit status: 0; 1 when the library or the card refused, which the
// object's "error" tells ("call", "status" and the library's "text"); 2 when there is no such card, with
// an "error" of a "text"; 3 when the command line is wrong, and 4 when the program itself fails, as without
// memory, which standard error tells.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>

#include "Facts.h"
#include "Library.h"
#include "Modes.h"

namespace zelcard {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kRefused = 1;
constexpr int kNoSuchCard = 2;
constexpr int kWrongUsage = 3;
constexpr int kOwnFailure = 4;

struct Request {
    std::string card;
    std::string mode;
};

Json AnswerFacts(const Request& request) {
    Library library;
    if (!request.card.empty())
        return Facts(library, library.Find(request.card));
    Json cards = Json::array();
    for (std::size_t card = 0; card < library.Size(); ++card)
        cards.push_back(Identity(library, card));
    return {{"cards", cards}};
}

// With the identity, so that whoever restores a mode sees whether the card is still the same one.
Json AnswerMode(const Request& request) {
    Library library;
    const std::size_t card = library.Find(request.card);
    const HANDLE handle = library.OpenCard(card);
    if (!request.mode.empty())
        SetMode(handle, library.Device(card), request.mode);
    return {{"card", CardName(card)},
            {"pcie", PcieAddress(card)},
            {"mode", ModeName(ReadMode(handle))}};
}

// Texts that a card tells may be any bytes; what is no UTF-8 becomes a replacement character.
void Print(const Json& answer) {
    std::cout << answer.dump(-1, ' ', false, Json::error_handler_t::replace) << std::endl;
}

int Answer(Json (*answer)(const Request&), const Request& request) {
    try {
        Print(answer(request));
        return std::cout ? 0 : kRefused;
    } catch (const CallFailure& failure) {
        Print({{"error", Describe(failure)}});
        return kRefused;
    } catch (const NoSuchCard& failure) {
        Print({{"error", {{"text", failure.what()}}}});
        return kNoSuchCard;
    }
}

int Run(int argc, char** argv) {
    CLI::App app("Asks the card-access library about cards, and prints one JSON object");
    app.require_subcommand(1);
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return std::string("zelcard: ") + error.what() + "\n";
    });
    Request request;
    constexpr char kCardHelp[] = "zel1, 1 or 0000:03:00.0";

    CLI::App* facts =
        app.add_subcommand("facts", "What a card tells; without CARD: which there are");
    facts->add_option("CARD", request.card, kCardHelp);
    CLI::App* mode = app.add_subcommand("mode", "The usage mode of a card");
    mode->add_option("CARD", request.card, kCardHelp)->required();
    CLI::App* setMode = app.add_subcommand("set-mode", "Asks a card to move to a usage mode");
    setMode->add_option("CARD", request.card, kCardHelp)->required();
    setMode->add_option("MODE", request.mode, "The mode")
        ->required()
        ->check(CLI::IsMember(SettableModes()));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kWrongUsage;
    }
    return Answer(facts->parsed() ? AnswerFacts : AnswerMode, request);
}

}  // namespace

}  // namespace zelcard

int main(int argc, char** argv) {
    try {
        return zelcard::Run(argc, argv);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "zelcard: %s\n", failure.what());
        return zelcard::kOwnFailure;
    }
}
