#include "cli/ReportOptions.h"

#include <CLI/CLI.hpp>

namespace zelhealth {

void AddReportFiles(CLI::App& command, ReportFiles& files) {
    command.add_option("--html", files.html, "A page for browsers")->type_name("FILE");
    command.add_option("--junit", files.junit, "JUnit XML, for continuous integration")
        ->type_name("FILE");
    command
        .add_option("--metrics", files.metrics, "OpenMetrics text, for the node exporter's folder")
        ->type_name("FILE");
    command.add_option("--csv", files.csv, "A table of all test results")->type_name("FILE");
}

}  // namespace zelhealth
