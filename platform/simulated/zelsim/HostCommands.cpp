// The commands of zelsim that are given on a simulated host.
#include "zelsim/HostCommands.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "fleet/Suggestion.h"
#include "host/HostState.h"
#include "zelsim/SecureShell.h"
#include "zelsim/Terminal.h"

namespace simulated {

namespace {

using namespace std::string_literals;

int Fail(const std::string& text) {
    Complain(text);
    return kCommandFailure;
}

// Null when there is none that can be had, which has been told.
std::unique_ptr<HostState> OpenHost(HostState::Access access) {
    try {
        auto host = HostState::Open(kStateFile, access);
        if (!host)
            Complain("this is no simulated host; start one with zelsim run");
        return host;
    } catch (const HostStateError& failure) {
        Complain(failure.what());
        return nullptr;
    }
}

std::string CardName(std::size_t card) {
    return "zel" + std::to_string(card);
}

// The card that "zel3" or "3" names; null when there is none.
CardState* FindCard(const HostState& host, const std::string& text) {
    for (std::size_t i = 0; i < host.Cards().size(); ++i) {
        if (text == CardName(i) || text == std::to_string(i))
            return &host.Cards()[i];
    }
    return nullptr;
}

// "zel7" or "7", whether or not there is such a card.
bool HasShapeOfCard(const std::string& text) {
    const std::string digits = text.starts_with("zel") ? text.substr(3) : text;
    return !digits.empty() && digits.find_first_not_of("0123456789") == digits.npos;
}

// Which card a mistyped name means, or which there are: a number that no card has is near to many and
// means none of them.
std::string CardHint(const HostState& host, const std::string& text) {
    const std::size_t count = host.Cards().size();
    if (count == 0)
        return "; it has none";
    const std::string last = CardName(count - 1);
    std::string all = count == 1 ? "; it has " + last : "; it has zel0 to " + last;
    if (HasShapeOfCard(text))
        return all;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i)
        names.push_back(CardName(i));
    return Suggestion(text, names, all);
}

const ModeName* FindMode(const std::string& text) {
    const auto* row = std::find_if(std::begin(kModeNames), std::end(kModeNames),
                                   [&](const ModeName& mode) { return text == mode.name; });
    return row == std::end(kModeNames) ? nullptr : row;
}

std::string ModeHint(const std::string& text) {
    std::vector<std::string> names;
    std::string all;
    for (const ModeName& row : kModeNames) {
        names.emplace_back(row.name);
        all += (all.empty() ? "; there are " : ", ") + names.back();
    }
    return Suggestion(text, names, all);
}

const char* NameOf(U32 mode) {
    for (const ModeName& row : kModeNames) {
        if (row.value == mode)
            return row.name;
    }
    return "unknown";
}

// A column is as wide in colour as without.
std::string Column(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

void PrintHeading() {
    const std::string line = Column("card", 8) + Column("generation", 12) +
                             Column("PCIe address", 16) + Column("usage mode", 19) + "reached at";
    std::puts(Styled(STDOUT_FILENO, Style::Strong, line).c_str());
}

void PrintCard(std::size_t number, const CardState& card) {
    const ZEL_CARD_USAGE_MODE now = HostState::UsageModeOf(card);
    const Style style = now == ZEL_USAGE_MODE_NORMAL ? Style::Good : Style::Attention;
    const std::string mode = Styled(STDOUT_FILENO, style, Column(NameOf(now), 19));
    std::printf("%s%s%s%s%s\n", Column(CardName(number), 8).c_str(),
                Column(GenerationName(card.generation), 12).c_str(),
                Column(ToText(card.pcie), 16).c_str(), mode.c_str(),
                IsReachable(card, now) ? CardAddressText(number).c_str() : "-");
}

}  // namespace

int ModeCommand(std::span<char* const> words) {
    if (words.size() != 2) {
        Complain("mode takes a card and a usage mode"s + kSeeHelp);
        return kUsageFailure;
    }
    const auto host = OpenHost(HostState::Access::Change);
    if (!host)
        return kCommandFailure;
    CardState* card = FindCard(*host, words[0]);
    if (card == nullptr)
        return Fail("this host has no card "s + words[0] + CardHint(*host, words[0]));
    const ModeName* mode = FindMode(words[1]);
    if (mode == nullptr)
        return Fail("a card has no usage mode "s + words[1] + ModeHint(words[1]));
    HostState::SetUsageMode(*card, mode->value);
    HostState::AwaitUsageMode(*card);
    return 0;
}

int StatusCommand(std::span<char* const> words) {
    if (!words.empty()) {
        Complain("status takes nothing"s + kSeeHelp);
        return kUsageFailure;
    }
    const auto host = OpenHost(HostState::Access::Look);
    if (!host)
        return kCommandFailure;
    PrintHeading();
    for (std::size_t i = 0; i < host->Cards().size(); ++i)
        PrintCard(i, host->Cards()[i]);
    return 0;
}

}  // namespace simulated
