// What a page shows, as the data that its script reads.
#pragma once

#include "report/Page.h"

namespace zelhealth {

// JSON that is written into a page: no text in it can end the block in which it stands.
std::string ForPage(const Json& value);

// The matrix's rows of one run: of each card how each of its tests ended.
Json RowsOf(const RunName& name, const RunEnd& end, const Cells& cells);

// All of it, in no more than about so many bytes: evidence is left out first, then failures in full, the least bad
// ones first. `rows` is null where there are too many, `fleet` where it is none.
std::string PageData(const Summary& summary, const Problems& problems, const Json& rows,
                     const Json& fleet, std::size_t bytes);

}  // namespace zelhealth
