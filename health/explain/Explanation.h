// What is said of something that was found, the same for people and for machines.
#pragma once

#include <string>
#include <vector>

#include "explain/Lookup.h"
#include "record/Record.h"

namespace zelhealth {

struct Explanation {
    enum class Form { text, words, lines, ranked };

    struct Field {
        const char* key;    // for machines
        const char* label;  // for people
        Form form = Form::text;
        std::vector<std::string> values;  // of a text one, else any number
    };

    const char* kind = "";  // "test", "message", "verdict", "status"
    std::string name;
    std::string about;    // what else stands beside the name
    std::string verdict;  // by which the name is coloured; empty without
    std::vector<Field> fields;
};

Explanation Explain(const Found& found);

// Lines of so many columns; with colours where these are wanted.
std::string TextOf(const Explanation& explanation, std::size_t columns, bool colours);

Json JsonOf(const Explanation& explanation);

}  // namespace zelhealth
