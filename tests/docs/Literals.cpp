#include "Literals.h"

#include <cctype>
#include <stdexcept>

namespace {

class Scanner {
public:
    explicit Scanner(const std::string& source) : source_(source) {}

    std::vector<std::string> Scan() {
        while (at_ < source_.size())
            Step();
        return literals_;
    }

private:
    bool Looks(const char* text) const {
        return source_.compare(at_, std::string(text).size(), text) == 0;
    }

    void Step() {
        if (Looks("//") || Looks("#include"))
            SkipTo("\n");
        else if (Looks("/*"))
            SkipTo("*/");
        else if (Looks("R\""))
            throw std::runtime_error("raw strings are not understood");
        else if (source_[at_] == '"')
            Take();
        else if (source_[at_] == '\'' && !InNumber())
            SkipCharacter();
        else if (std::isspace(static_cast<unsigned char>(source_[at_++])) == 0)
            joins_ = false;
    }

    // 1'000'000
    bool InNumber() const {
        return at_ > 0 && std::isxdigit(static_cast<unsigned char>(source_[at_ - 1])) != 0;
    }

    void SkipTo(const std::string& end) {
        const std::size_t found = source_.find(end, at_);
        at_ = found == source_.npos ? source_.size() : found + end.size();
    }

    void SkipCharacter() {
        for (++at_; source_.at(at_) != '\''; ++at_) {
            if (source_[at_] == '\\')
                ++at_;
        }
        ++at_;
        joins_ = false;
    }

    void Take() {
        std::string text;
        for (++at_; source_.at(at_) != '"'; ++at_)
            text += source_[at_] == '\\' ? Escape() : source_[at_];
        ++at_;
        if (joins_)
            literals_.back() += text;
        else
            literals_.push_back(text);
        joins_ = true;
    }

    char Escape() {
        switch (const char c = source_.at(++at_)) {
            case 'n':
                return '\n';
            case 't':
                return '\t';
            default:
                return c;
        }
    }

    const std::string& source_;
    std::size_t at_ = 0;
    bool joins_ = false;  // a literal stands right in front
    std::vector<std::string> literals_;
};

}  // namespace

std::vector<std::string> ReadLiterals(const std::string& source) {
    return Scanner(source).Scan();
}
