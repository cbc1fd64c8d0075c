// Pages for browsers, in one file each that needs nothing else: it opens from a disk, and asks nothing of any network.
// A content policy allows a page its own scripts and its own style, by their hashes, and forbids the rest.
#pragma once

#include <string>

namespace zelhealth {

// What draws the data.
enum class Drawing { report, history };

// `data` is JSON as ForPage writes it, which cannot leave its place.
std::string PageText(Drawing drawing, const std::string& data);

}  // namespace zelhealth
