// A report as a page for browsers.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/OutputFile.h"
#include "report/Cells.h"
#include "report/Output.h"
#include "report/Summary.h"

namespace zelhealth {

// What could not be read.
struct Problems {
    std::uint64_t count = 0;
    std::vector<std::string> texts;  // the first few
};

class Page : public Output {
public:
    // Of so many cards each test of each is shown; of more, what did not pass.
    static constexpr std::size_t kFew = 64;

    // `summary` gets each record before this does; `problems` is read when the page is closed. Then `fleet`,
    // which may be empty, is called, too: what is told of a fleet besides.
    Page(const std::string& file, const Summary& summary, const Problems& problems,
         std::function<Json()> fleet);

    std::unique_ptr<RunReader> Begin(const RunName& name) override;
    void Close() override;

private:
    friend class PageRun;

    OutputFile file_;
    const Summary& summary_;
    const Problems& problems_;
    std::function<Json()> fleet_;
    Json rows_ = Json::array();  // of the matrix
    bool many_ = false;
};

}  // namespace zelhealth
