#include "report/JUnit.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <pugixml.hpp>

#include "readers/Outcome.h"
#include "record/Fields.h"
#include "report/RunEnd.h"

namespace zelhealth {

namespace {

// A suite that grows larger is written, and goes on as another: a run may have any number of rounds.
constexpr std::size_t kLargestSuite = 1024UL * 1024;

enum class Mark { passed, skipped, failure, error };

constexpr const char* kElements[] = {"", "skipped", "failure", "error"};

Mark MarkOf(const Json& test) {
    const std::string& verdict = TextOf(test, "verdict");
    if (verdict == "passed") {
        return Mark::passed;
    }
    if (verdict == "unsupported" || verdict == "skipped" || verdict == "not_run") {
        return Mark::skipped;
    }
    const bool failed = verdict == "failed" || verdict == "timed_out";
    if (failed || verdict == "crashed") {
        const Mark mark = failed ? Mark::failure : Mark::error;
        return StatusOfTest(test) == Status::warning ? Mark::skipped : mark;
    }
    return Mark::error;
}

Mark MarkOf(Status status) {
    switch (status) {
        case Status::ok:
            return Mark::passed;
        case Status::warning:
            return Mark::skipped;
        case Status::critical:
            return Mark::failure;
        case Status::unknown:
            break;
    }
    return Mark::error;
}

std::string NameOf(const Json& test) {
    const double round = NumberOf(test, "round");
    return fmt::format("{}.{}{}{}{}", TextOf(test, "group"), TextOf(test, "test"),
                       ListOf(test, "options").empty() ? "" : " ",
                       fmt::join(TextsOf(test, "options"), " "),
                       round > 1 ? fmt::format(" (round {:.0f})", round) : "");
}

std::string Lines(const std::vector<std::string>& lines) {
    return fmt::format("{}", fmt::join(lines, "\n"));
}

// What is to be known of a test that is no plain success.
std::string DetailsOf(const Json& test) {
    std::vector<std::string> lines = TextsOf(test, "messages");
    lines.insert(lines.begin(), TextOf(test, "reason"));
    for (const char* const field : {"mend", "waived", "waiver_expired"}) {
        if (const std::string& text = TextOf(test, field); !text.empty()) {
            lines.push_back(text);
        }
    }
    return Lines(lines);
}

std::string EvidenceOf(const Json& test) {
    std::string text;
    if (const auto evidence = test.find("evidence"); evidence != test.end()) {
        for (const char* const stream : {"out", "err"}) {
            const std::vector<std::string> lines = TextsOf(*evidence, stream);
            text += lines.empty() ? "" : Lines(lines) + "\n";
        }
    }
    return text;
}

class Writer : public pugi::xml_writer {
public:
    explicit Writer(OutputFile& file) : file_(file) {}
    void write(const void* data, std::size_t size) override {
        file_.Write({static_cast<const char*>(data), size});
    }

private:
    OutputFile& file_;
};

class Suite {
public:
    Suite(const RunName& name, int part) : suite_(document_.append_child("testsuite")) {
        const std::string more = part > 1 ? fmt::format(" (part {})", part) : "";
        Set(suite_, "name", fmt::format("zelhealth {} {}{}", name.host, name.run, more));
        Set(suite_, "hostname", name.host);
    }

    void SetTime(const std::string& time) {
        constexpr std::size_t kWithoutFractions = 19;
        Set(suite_, "timestamp", time.substr(0, kWithoutFractions));
    }

    pugi::xml_node Add(const std::string& className, const std::string& name, double seconds,
                       Mark mark, const std::string& message, const std::string& type,
                       const std::string& details) {
        pugi::xml_node node = suite_.append_child("testcase");
        Set(node, "classname", className);
        Set(node, "name", name);
        Set(node, "time", fmt::format("{:.3f}", seconds));
        seconds_ += seconds;
        ++tests_;
        if (mark != Mark::passed) {
            ++marked_[static_cast<std::size_t>(mark)];
            pugi::xml_node element = node.append_child(kElements[static_cast<std::size_t>(mark)]);
            Set(element, "message", message);
            if (mark != Mark::skipped) {
                Set(element, "type", type);
            }
            AddText(element, details);
        }
        return node;
    }

    void AddText(pugi::xml_node node, const std::string& text) {
        const std::string fit = XmlText(text);
        size_ += fit.size();
        node.text().set(fit.c_str());
    }

    bool IsLarge() const { return size_ > kLargestSuite; }

    void Write(OutputFile& file) {
        Set(suite_, "tests", std::to_string(tests_));
        for (const auto& [name, mark] : {std::pair("failures", Mark::failure),
                                         {"errors", Mark::error},
                                         {"skipped", Mark::skipped}}) {
            Set(suite_, name, std::to_string(marked_[static_cast<std::size_t>(mark)]));
        }
        Set(suite_, "time", fmt::format("{:.3f}", seconds_));
        Writer writer(file);
        suite_.print(writer, "  ", pugi::format_default, pugi::encoding_utf8, 1);
    }

private:
    void Set(pugi::xml_node node, const char* name, const std::string& text) {
        const std::string fit = XmlText(text);
        size_ += fit.size();
        pugi::xml_attribute attribute = node.attribute(name);
        (attribute ? attribute : node.append_attribute(name)).set_value(fit.c_str());
    }

    pugi::xml_document document_;
    pugi::xml_node suite_;
    int tests_ = 0;
    std::size_t marked_[4] = {};
    double seconds_ = 0;
    std::size_t size_ = 0;
};

class JUnitRun : public RunReader {
public:
    JUnitRun(OutputFile& file, RunName name) : file_(file), name_(std::move(name)) {
        suite_.emplace(name_, part_);
    }

    void Read(const Json& record) override {
        end_.Read(record);
        const std::string& kind = TextOf(record, "record");
        if (kind == "run_started") {
            suite_->SetTime(TextOf(record, "time"));
        } else if (kind == "test_finished") {
            AddTest(record);
        } else if (kind == "card_finished") {
            AddReasons("." + TextOf(record, "card"), "card", ListOf(record, "reasons"));
        } else if (kind == "run_note") {
            for (const Json& reason : ListOf(record, "reasons")) {
                notes_.push_back(reason);
            }
        }
        if (suite_->IsLarge()) {
            suite_->Write(file_);
            suite_.emplace(name_, ++part_);
        }
    }

    void End() override {
        const auto status = static_cast<Status>(end_.Status());
        if (!end_.Finished()) {
            notes_.push_back({{"text", "the run was broken off"}, {"status", 3}});
        } else if (Worse(worst_, status) != worst_) {
            notes_.push_back({{"text", fmt::format("the run ended with status {}", end_.Status())},
                              {"status", end_.Status()}});
        }
        AddReasons("", "run", notes_);
        suite_->Write(file_);
    }

private:
    void AddTest(const Json& test) {
        worst_ = Worse(worst_, StatusOfTest(test));
        const Mark mark = MarkOf(test);
        const std::string& reason = TextOf(test, "reason");
        const std::string& verdict = TextOf(test, "verdict");
        pugi::xml_node node = suite_->Add(
            name_.host + "." + TextOf(test, "card"), NameOf(test), NumberOf(test, "seconds"), mark,
            reason.empty() ? verdict : reason, verdict, DetailsOf(test));
        if (const std::string evidence = EvidenceOf(test);
            mark != Mark::passed && !evidence.empty()) {
            suite_->AddText(node.append_child("system-out"), evidence);
        }
    }

    void AddReasons(const std::string& card, const char* name, const Json& reasons) {
        const Status status = StatusOfReasons(reasons);
        worst_ = Worse(worst_, status);
        std::vector<std::string> texts;
        std::string message;  // of the first of the worst
        for (const Json& reason : reasons) {
            texts.push_back(TextOf(reason, "text"));
            if (message.empty() && StatusOfReasons(Json::array({reason})) == status) {
                message = texts.back();
            }
        }
        suite_->Add(name_.host + card, name, 0, MarkOf(status), message,
                    std::string(VerdictOf(status)), Lines(texts));
    }

    OutputFile& file_;
    RunName name_;
    int part_ = 1;
    std::optional<Suite> suite_;
    Json notes_ = Json::array();
    Status worst_ = Status::ok;
    RunEnd end_;
};

}  // namespace

std::string XmlText(std::string_view text) {
    constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
    if (std::all_of(text.begin(), text.end(), [](char c) { return c >= ' '; })) {
        return std::string(text);
    }
    std::string fit;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool control =
            static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n' && c != '\r';
        const std::string_view three = text.substr(i, kReplacement.size());
        if (control) {
            fit += kReplacement;
        } else if (three == "\xEF\xBF\xBE" || three == "\xEF\xBF\xBF") {
            fit += kReplacement;
            i += three.size() - 1;
        } else {
            fit += c;
        }
    }
    return fit;
}

JUnit::JUnit(const std::string& file) : file_(file) {
    file_.Write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n");
}

std::unique_ptr<RunReader> JUnit::Begin(const RunName& name) {
    return std::make_unique<JUnitRun>(file_, name);
}

void JUnit::Close() {
    file_.Write("</testsuites>\n");
    file_.Commit();
}

}  // namespace zelhealth
