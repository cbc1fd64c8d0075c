// A stream of records, as a stored file, which anybody may have written: cut, damaged, of another version, hostile.
//
// What is read of it is told in every form: to people, as a page, as tables. Nothing of a stream commands a terminal,
// leaves the place in a page where data stands, or makes a run good that has no end.
#include <string>

#include "fleet/FleetData.h"
#include "fleet/FleetText.h"
#include "host/Printable.h"
#include "readers/PluginLine.h"
#include "readers/Report.h"
#include "record/Fields.h"
#include "record/StreamReader.h"
#include "report/Csv.h"
#include "report/JUnit.h"
#include "report/Metrics.h"
#include "report/PageData.h"
#include "report/Runs.h"
#include "report/SummaryText.h"
#include "support/Expect.h"
#include "support/Input.h"
#include "support/MemoryFile.h"

namespace {

using fuzz::Expect;

constexpr std::size_t kPage = 100000;

// Each line by itself: line ends are the reports' own.
void ExpectTame(const std::string& text) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        fuzz::ExpectEqual(zelhealth::Printable(line), line, "a line that terminals show as it is");
        begin = end + 1;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zelhealth;
    static const fuzz::MemoryFile file;
    file.Set(fuzz::Text(data, size));

    Summary summary;
    FleetSummary fleet;
    JUnit junit("/dev/null");
    Metrics metrics("/dev/null");
    Csv csv("/dev/null");
    Runs runs({&summary, &fleet, &junit, &metrics, &csv});
    Report report;
    PluginLine line;
    std::size_t ends = 0;
    StreamReader reader(
        file.Name(),
        [](const StreamProblem& problem) { Expect(!problem.what.empty(), "a problem has a text"); },
        {});
    for (Json record; reader.Next(record);) {
        ends += TextOf(record, "record") == "run_finished" ? 1 : 0;
        runs.Read(record);
        report.Read(record);
        line.Read(record);
    }
    runs.EndAll();
    for (Output* const output : std::initializer_list<Output*>{&junit, &metrics, &csv})
        output->Close();

    const FleetReport told = ReportOf(fleet, {}, Reach::ssh);
    Expect(told.healthy <= ends, "a host is healthy whose run has no end");
    ExpectTame(SummaryText(summary, 80, false));
    ExpectTame(FleetText(told, summary, 80, false));
    ExpectTame(report.Text(80, false));
    ExpectTame(line.Text());
    Expect(line.Text().find('\n') == std::string::npos, "a plugin's line has several");
    const std::string page = PageData(summary, {}, Json(), FleetData(told, summary), kPage);
    Expect(page.find('<') == std::string::npos, "a text of a page that could end its place");
    return 0;
}
