#include "record/StreamReader.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <set>
#include <utility>

#include "catalogue/Verdicts.h"
#include "host/Printable.h"
#include "readers/Outcome.h"
#include "record/Fields.h"
#include "record/LineParser.h"
#include "record/LineSource.h"

namespace zelhealth {

namespace {

constexpr std::uint64_t kToldLines = 20;
constexpr std::size_t kLongestVerdict = 100;

Descriptor Open(const std::string& file) {
    return Descriptor(file == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                                  : open(file.c_str(), O_RDONLY | O_CLOEXEC));
}

bool IsBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r") == std::string_view::npos;
}

}  // namespace

std::string StreamProblem::Text() const {
    return line == 0 ? fmt::format("{}: {}", file, what)
                     : fmt::format("{}:{}: {}", file, line, what);
}

struct StreamReader::Inner {
    std::string name;
    Tell tell;
    StreamOptions options;
    std::optional<LineSource> lines;
    LineParser parser;
    std::uint64_t line = 0;
    std::uint64_t records = 0;
    std::uint64_t problems = 0;
    bool toldSchema = false;
    std::set<std::string> toldOfRecords;

    void OfFile(const std::string& what) { tell({name, 0, what}); }

    void OfLine(const std::string& what) {
        if (++problems <= kToldLines) {
            tell({name, line, what});
        }
    }

    void Finish() {
        const int error = lines->Error();
        lines.reset();
        if (problems > kToldLines) {
            OfFile(fmt::format("{} more problems are not shown", problems - kToldLines));
        }
        if (error == ECANCELED) {
            OfFile(fmt::format("interrupted behind line {}", line));
        } else if (error != 0) {
            const std::string place = line > 0 ? fmt::format(" behind line {}", line) : "";
            OfFile(fmt::format("cannot be read{}: {}", place, std::strerror(error)));
        } else if (records == 0) {
            OfFile("holds no record");
        }
    }

    // Whether the line is a record.
    bool Read(const LineSource::Line& source, Json& record) {
        if (source.tooLong) {
            OfLine(
                fmt::format("is longer than {} bytes; it is left out", LineSource::kLongestLine));
            return false;
        }
        if (IsBlank(source.text)) {
            return false;
        }
        if (std::string error = parser.Parse(source.text, options.evidenceOfPassed, record);
            !error.empty()) {
            OfLine(source.ended ? fmt::format("is no record: {}; the line is left out", error)
                                : "the stream is cut in the middle of this line; it is left out");
            return false;
        }
        LeaveOutUnfit(record, [this](const std::string& field, std::string_view why) {
            OfLine(fmt::format("\"{}\" {}; the field is left out", field, why));
        });
        for (const char* const needed : {"record", "run"}) {
            if (TextOf(record, needed).empty()) {
                OfLine(fmt::format("is no record: it has no text \"{}\"; the line is left out",
                                   needed));
                return false;
            }
        }
        CheckSchema(record);
        CheckVerdict(record);
        ++records;
        return true;
    }

    // Nobody knows what was found by a verdict that nobody knows.
    void CheckVerdict(Json& record) {
        const std::string kind = TextOf(record, "record");
        if (kind != "test_finished" && kind != "card_finished" && kind != "run_finished") {
            return;
        }
        const std::string verdict = TextOf(record, "verdict");
        const char* const of = kind == "test_finished" ? "test" : "card";
        if (verdict.empty() || Verdicts::BuiltIn().Knows(of, verdict)) {
            return;
        }
        OfLine(fmt::format("its verdict \"{}\" is not known; it counts as unknown",
                           Bounded(verdict, kLongestVerdict)));
        record["verdict"] = VerdictOf(Status::unknown);
        if (kind == "run_finished") {
            const auto status = record.find("status");
            const Status told =
                status == record.end() ? Status::unknown : static_cast<Status>(status->get<int>());
            record["status"] = static_cast<unsigned>(Worse(told, Status::unknown));
        }
    }

    void CheckSchema(const Json& record) {
        const double schema = NumberOf(record, "schema");
        if (schema == kSchema || toldSchema) {
            return;
        }
        toldSchema = true;
        const bool newer = schema > kSchema;
        tell({name, line,
              fmt::format("is of {} schema, {:g}; this program's is {}, and what it knows of the "
                          "stream is read",
                          newer ? "a newer" : "an older", schema, kSchema),
              newer});
    }
};

StreamReader::StreamReader(const std::string& file, Tell tell, const StreamOptions& options)
    : inner_(std::make_unique<Inner>()) {
    inner_->name = file == "-" ? "standard input" : file;
    inner_->tell = std::move(tell);
    inner_->options = options;
    Descriptor descriptor = Open(file);
    if (!descriptor.IsOpen()) {
        inner_->OfFile(fmt::format("cannot be read: {}", std::strerror(errno)));
        return;
    }
    inner_->lines.emplace(std::move(descriptor), options.stop);
}

StreamReader::~StreamReader() = default;

bool StreamReader::Next(Json& record) {
    while (inner_->lines) {
        const auto line = inner_->lines->Next();
        if (!line) {
            inner_->Finish();
            break;
        }
        ++inner_->line;
        if (inner_->Read(*line, record)) {
            return true;
        }
    }
    return false;
}

std::uint64_t StreamReader::Line() const {
    return inner_->line;
}

void StreamReader::TellOfRecord(const std::string& what) {
    if (inner_->toldOfRecords.insert(what).second) {
        inner_->OfLine(what);
    }
}

}  // namespace zelhealth
