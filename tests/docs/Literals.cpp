#include "Literals.h"

#include <regex>

std::vector<std::string> ReadLiterals(const std::string& source) {
    // Where a quote begins no text: in comments, names of headers and character constants.
    static const std::regex token(R"re(//.*|#include.*|'\\?"'|((?:"(?:[^"\\]|\\[^])*"\s*)+))re");
    static const std::regex piece(R"re("\s*"|\\([^])|([^"\\]))re");
    std::vector<std::string> literals;
    for (std::sregex_iterator i(source.begin(), source.end(), token), end; i != end; ++i) {
        if (!(*i)[1].matched)
            continue;
        std::string text;
        const std::string quoted = (*i)[1];
        const std::string inside = quoted.substr(1, quoted.rfind('"') - 1);
        for (std::sregex_iterator j(inside.begin(), inside.end(), piece); j != end; ++j) {
            const std::string escape = (*j)[1];
            text += escape == "n" ? "\n" : escape == "t" ? "\t" : escape + (*j)[2].str();
        }
        literals.push_back(text);
    }
    return literals;
}
