#include "explain/Explanation.h"

#include <fmt/format.h>

#include <algorithm>

#include "catalogue/Markup.h"
#include "catalogue/MessagePattern.h"
#include "catalogue/Messages.h"
#include "readers/Outcome.h"

namespace zelhealth {

namespace {

using Fields = std::vector<Explanation::Field>;
using Form = Explanation::Form;

// Nothing is said of what a row does not have.
void AddText(Fields& fields, const char* key, const char* label, const std::string& marked) {
    if (!marked.empty()) {
        fields.push_back({key, label, Form::text, {Plain(marked)}});
    }
}

void AddList(Fields& fields, const char* key, const char* label, Form form,
             std::vector<std::string> values) {
    if (!values.empty()) {
        fields.push_back({key, label, form, std::move(values)});
    }
}

void AddCauses(Fields& fields, const std::vector<std::string>& causes) {
    std::vector<std::string> plain;
    std::transform(causes.begin(), causes.end(), std::back_inserter(plain), Plain);
    AddList(fields, "causes", "causes", Form::ranked, std::move(plain));
}

bool IsOf(const MessageRow& row, const TestRow& test) {
    return std::any_of(row.tests.begin(), row.tests.end(), [&test](const std::string& name) {
        return name == test.Id() || name == test.group;
    });
}

// The failures that a test may report.
std::vector<std::string> FailuresOf(const TestRow& test) {
    std::vector<std::string> failures;
    for (const MessageSection& section : Messages::BuiltIn().Book().sections) {
        for (const MessageRow& row : section.rows) {
            for (const MessageText& text : row.texts) {
                if (text.kind == "failure" && IsOf(row, test)) {
                    failures.push_back(text.text);
                }
            }
        }
    }
    return failures;
}

std::string Times(const TestRow& row) {
    const std::string perGib =
        row.perGibSeconds > 0 ? fmt::format(", and {:g} s more for each GiB", row.perGibSeconds)
                              : "";
    return fmt::format("{:g} s on a healthy card; ended after {:g} s{}: {}", row.expectedSeconds,
                       row.deadlineSeconds, perGib, row.why);
}

Explanation OfTest(const TestRow& row) {
    Explanation said{"test", row.Id(), OneLine(row.title), "", {}};
    Fields& fields = said.fields;
    AddText(fields, "reads", "reads", row.reads);
    AddText(fields, "way", "way",
            row.disturbs ? "disruptive: it takes something from who uses the card"
                         : "passive: it disturbs nobody");
    AddText(fields, "mode", "mode", std::string(NameOf(row.mode)));
    AddList(fields, "needs", "needs", Form::words, row.needs);
    AddList(fields, "resources", "shares", Form::words, row.resources);
    AddList(fields, "generations", "cards", Form::words, row.generations);
    AddList(fields, "options", "takes", Form::words, row.options);
    AddText(fields, "time", "time", Times(row));
    AddText(fields, "command", "tool",
            fmt::format("ZelDiag {} -{}, or -{}; {}.{} in its report", row.groupWord, row.name,
                        row.also, row.groupSummary, row.summary));
    AddList(fields, "failures", "fails", Form::lines, FailuresOf(row));
    return said;
}

// What the tests read that say so.
std::vector<std::string> ReadBy(const MessageRow& row) {
    std::vector<std::string> reads;
    for (const TestRow& test : Catalogue::BuiltIn().Tests()) {
        if (IsOf(row, test)) {
            reads.push_back(fmt::format("{}: {}", test.Id(), test.reads));
        }
    }
    return reads;
}

std::string Shown(const FoundMessage& message) {
    const std::string& kind = message.text->kind;
    return kind == message.kind->name ? message.kind->shown
                                      : message.kind->shown + " (" + kind + ")";
}

Explanation OfMessage(const FoundMessage& message) {
    const MessageRow& row = *message.row;
    const bool fails = message.text->kind == "failure" || message.text->kind == "reason";
    Explanation said{"message", message.text->text, "", fails ? "failed" : "", {}};
    Fields& fields = said.fields;
    AddText(fields, "shown", "shown", Shown(message));
    AddList(fields, "reads", "reads", Form::lines, ReadBy(row));
    AddText(fields, "means", "means", row.means);
    AddText(fields, "detail", "more", row.detail);
    AddCauses(fields, row.causes);
    AddText(fields, "next", "next", row.Advice());
    std::vector<std::string> beside;
    for (const MessageText& text : row.texts) {
        if (text.text != message.text->text &&
            std::find(beside.begin(), beside.end(), text.text) == beside.end()) {
            beside.push_back(text.text);
        }
    }
    AddList(fields, "beside", "beside", Form::lines, std::move(beside));
    return said;
}

std::string StatusText(int status) {
    return fmt::format("{}, a run that is {}", status, VerdictOf(static_cast<Status>(status)));
}

Explanation OfVerdict(const VerdictRow& row) {
    const std::string of = row.of == "card" ? "card or a run" : row.of;
    Explanation said{"verdict", row.name, "of a " + of, row.name, {}};
    Fields& fields = said.fields;
    AddText(fields, "when", "when", row.when);
    AddText(fields, "means", "means", row.means);
    AddCauses(fields, row.causes);
    AddText(fields, "next", "next", row.next);
    AddText(fields, "status", "status", StatusText(row.status));
    return said;
}

Explanation OfStatus(const StatusRow& row) {
    const std::string verdict(row.of == "zelhealth" ? VerdictOf(static_cast<Status>(row.number))
                                                    : "");
    Explanation said{"status", NameOf(Found(&row)), "of " + row.of, verdict, {}};
    Fields& fields = said.fields;
    AddText(fields, "when", "when", row.when);
    AddText(fields, "example", "such", row.example);
    AddText(fields, "next", "next", row.next);
    if (!row.monitor.empty()) {
        AddText(fields, "monitor", "shown", row.monitor + " by a monitor");
        AddText(fields, "use", "use",
                fmt::format("a health check {}; a prolog {}", row.healthCheck, row.prolog));
    }
    return said;
}

struct Explainer {
    Explanation operator()(const TestRow* row) const { return OfTest(*row); }
    Explanation operator()(const FoundMessage& message) const { return OfMessage(message); }
    Explanation operator()(const VerdictRow* row) const { return OfVerdict(*row); }
    Explanation operator()(const StatusRow* row) const { return OfStatus(*row); }
};

}  // namespace

Explanation Explain(const Found& found) {
    return std::visit(Explainer{}, found);
}

}  // namespace zelhealth
