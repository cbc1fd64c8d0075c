// The note that a card is not in the mode in which it was found. It is on the disk, not only on its way
// there, before the card is asked to move, and goes when the card is back: so that a run that is killed,
// and a host that loses its power, leave behind what is to be done.
//
// One file a card, named by its PCIe address: "0000:02:00.0.json".
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelhealth {

struct ModeNote {
    std::string pcie;
    std::string uuid;   // "" when the card did not tell it
    std::string found;  // the mode to which the card goes back

    // The modes in which we or the tool may have left the card. In any other it is somebody else's.
    std::vector<std::string> ours;

    std::string time;
    std::string boot;  // which boot of the host this was
    std::string run;   // who: the command
    bool operator==(const ModeNote&) const = default;
};

struct StoredNote {
    std::filesystem::path file;
    std::optional<ModeNote> note;
    std::string error;  // without a note: why it cannot be read
};

class ModeFiles {
public:
    explicit ModeFiles(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // Gives what went wrong, empty when the note stands on the disk.
    std::string Write(const ModeNote& note) const;

    // Gives what went wrong, empty when there is none, or none any more.
    std::string Remove(const std::string& pcie) const;

    // The address of a note's card, by the name of its file; "" of what is no such file.
    static std::string CardOf(const std::filesystem::path& file);

    // Null when there is none.
    std::optional<StoredNote> Read(const std::string& pcie) const;

    // All of them. A folder that cannot be read is one entry with an error.
    std::vector<StoredNote> ReadAll() const;

private:
    std::filesystem::path File(const std::string& pcie) const;
    std::filesystem::path folder_;
};

// The id of this boot, "" where the kernel does not tell.
std::string BootId();

}  // namespace zelhealth
