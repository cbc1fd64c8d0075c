// Stands in, at link time, for what the tool asks of its process: its user, its files and its end.
#pragma once

namespace fuzz {

// Thrown in the place of the end of the process.
struct ProcessEnd {
    int status;
};

// Whether geteuid answers root, as it does at first, or another user.
void BeRoot(bool root);

// Whether cmOpenRegularFile opens this file; it opens no other, whatever the host has. Each reads as
// `kFileText`.
bool IsReadable(const char* path);

inline constexpr char kFileText[] = "# A comment.\nHelp # and a comment\nMore help\n";

}  // namespace fuzz
