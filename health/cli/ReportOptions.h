// Where reports are written, as several commands take it.
#pragma once

#include <CLI/App.hpp>

#include "report/ReportFiles.h"

namespace zelhealth {

void AddReportFiles(CLI::App& command, ReportFiles& files);

}  // namespace zelhealth
