// Work on several things at once, each by a thread.
#pragma once

#include <cstddef>
#include <functional>

namespace zelhealth {

// Calls `work` with each number below `count`, at most `jobs` of them at once, and comes back when all are
// done. Where the host gives no more threads, those that there are do it all. What `work` throws is thrown
// here, once all that had begun is done; what had not begun is left out then.
void SideBySide(std::size_t count, std::size_t jobs, const std::function<void(std::size_t)>& work);

}  // namespace zelhealth
