// How zelsim speaks.
#include "zelsim/Terminal.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace simulated {

namespace {

constexpr char kReset[] = "\033[0m";

const char* CodeOf(Style style) {
    switch (style) {
        case Style::Strong:
            return "\033[1m";
        case Style::Good:
            return "\033[32m";
        case Style::Attention:
            return "\033[33m";
        case Style::Fault:
            return "\033[1;31m";
    }
    return "";
}

bool IsSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

}  // namespace

bool CanRewriteLines(int descriptor) {
    const char* type = std::getenv("TERM");
    return type != nullptr && *type != '\0' && std::strcmp(type, "dumb") != 0 &&
           isatty(descriptor) == 1;
}

bool ShowsColours(int descriptor) {
    return !IsSet("NO_COLOR") && CanRewriteLines(descriptor);
}

std::string Styled(int descriptor, Style style, const std::string& text) {
    return ShowsColours(descriptor) ? CodeOf(style) + text + kReset : text;
}

void Complain(const std::string& text) {
    std::fprintf(stderr, "%s %s\n", Styled(STDERR_FILENO, Style::Fault, "zelsim:").c_str(),
                 text.c_str());
}

}  // namespace simulated
