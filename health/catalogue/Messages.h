// What failures mean and what to do about them, for people.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

struct Advice {
    std::string means;
    std::string next;
};

class Messages {
public:
    // Those that are built in.
    static const Messages& BuiltIn();

    explicit Messages(std::string_view toml);

    // What the tool's message says; else what the verdict ("timed_out") says.
    const Advice& For(const std::vector<std::string>& messages, const std::string& verdict) const;

    const std::map<std::string, Advice, std::less<>>& All() const { return messages_; }

private:
    std::map<std::string, Advice, std::less<>> messages_;
    std::map<std::string, Advice, std::less<>> verdicts_;
};

}  // namespace zelhealth
