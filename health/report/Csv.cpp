#include "report/Csv.h"

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>

#include "record/Fields.h"

namespace zelhealth {

namespace {

constexpr std::string_view kTitles =
    "host,run,time,card,pcie,group,test,options,round,verdict,seconds,reason,messages,mend,"
    "waived\r\n";

// What needs neither quotes nor a replacement, which most texts do not.
bool IsPlain(char c) {
    return static_cast<unsigned char>(c) >= ' ' && c != ',' && c != ';' && c != '"';
}

void AddField(std::string& row, std::string_view text) {
    constexpr std::string_view kFormulas = "=+-@\t\r";
    const bool formula = !text.empty() && kFormulas.find(text.front()) != std::string_view::npos;
    const std::string_view mark = formula ? "'" : "";
    if (std::all_of(text.begin(), text.end(), IsPlain)) {
        row.append(mark).append(text);
        return;
    }
    // Semicolons and tabs separate fields for programs that were told so by a person's language.
    const bool quoted = text.find_first_of(",\"\r\n;\t") != std::string_view::npos;
    const std::string_view quote = quoted ? "\"" : "";
    row.append(quote).append(mark);
    for (const char c : text) {
        const bool control =
            static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\r' && c != '\n';
        row += control ? '?' : c;
        if (c == '"') {
            row += '"';
        }
    }
    row.append(quote);
}

std::string Row(std::initializer_list<std::string_view> texts) {
    std::string row;
    for (const std::string_view text : texts) {
        AddField(row, text);
        row += ',';
    }
    row.back() = '\r';
    return row + "\n";
}

std::string Joined(const Json& record, const char* name, const char* between) {
    return fmt::format("{}", fmt::join(TextsOf(record, name), between));
}

class CsvRun : public RunReader {
public:
    CsvRun(OutputFile& file, RunName name) : file_(file), name_(std::move(name)) {}

    void Read(const Json& record) override {
        const std::string& kind = TextOf(record, "record");
        if (kind == "test_finished") {
            WriteTest(record);
        }
        finished_ = finished_ || kind == "run_finished";
        time_ = TextOf(record, "time");
    }

    void End() override {
        if (!finished_) {
            file_.Write(Row({name_.host, name_.run, time_, "", "", "", "", "", "", "broken_off", "",
                             "the run was broken off", "", "", ""}));
        }
    }

private:
    void WriteTest(const Json& record) {
        const std::string& waived = TextOf(record, "waived");
        file_.Write(
            Row({name_.host, name_.run, TextOf(record, "time"), TextOf(record, "card"),
                 TextOf(record, "pcie"), TextOf(record, "group"), TextOf(record, "test"),
                 Joined(record, "options", " "), fmt::format("{:.0f}", NumberOf(record, "round")),
                 TextOf(record, "verdict"), fmt::format("{:.3f}", NumberOf(record, "seconds")),
                 TextOf(record, "reason"), Joined(record, "messages", "; "), TextOf(record, "mend"),
                 waived.empty() ? TextOf(record, "waiver_expired") : waived}));
    }

    OutputFile& file_;
    RunName name_;
    std::string time_;
    bool finished_ = false;
};

}  // namespace

std::string CsvField(std::string_view text) {
    std::string field;
    AddField(field, text);
    return field;
}

Csv::Csv(const std::string& file) : file_(file) {
    file_.Write(kTitles);
}

std::unique_ptr<RunReader> Csv::Begin(const RunName& name) {
    return std::make_unique<CsvRun>(file_, name);
}

void Csv::Close() {
    file_.Commit();
}

}  // namespace zelhealth
