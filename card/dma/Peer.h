// What the card's two halves of the DMA exchange have in common. The host's half is a test of the
// diagnostic tool; both ends keep the same order of steps, and any step that fails ends this end,
// which the other then notices.
//
// Arguments: pages per buffer, buffers, fixed window offsets (0 or 1), windows are left registered
// (0 or 1), node of the host. Exit status 0 when everything agreed, 1 when not, 2 for arguments that
// make no sense, 3 when standard input, a pipe, has ended. Whatever fails throws Failure.
#pragma once

#include <sys/stat.h>

#include <array>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "vorl.h"

namespace peer {

inline constexpr U16 kPort = 130;

// What each side fills its buffers with: the writer's pattern, and the reply to it.
inline constexpr U8 kWritten = 0xAD;
inline constexpr U8 kReply = 0xAC;

class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A failure of the library's operation `what`, with errno's text.
Failure LibraryFailure(const std::string& what);

struct Shape {
    size_t bufferBytes = 0;
    unsigned buffers = 0;
    bool fixedOffsets = false;
    bool keepRegistered = false;
    U16 hostNode = 0;
};

// Empty when the arguments are not five numbers that make a transfer of at most 64 MiB.
std::optional<Shape> ParseShape(int argc, char** argv);

// Where this program lies, and the programs that the host may send there: one for each test.
//
// A program that waits for its host does not learn that the host has given it up. It would keep the
// port from the next one, and its file from being sent again, since nobody can write into a file that
// is being executed. So it takes its own file away, and leaves when the host has sent a program.
class Folder {
public:
    // `program` is this program's path. Its file goes only from where the host puts it, the root
    // folder.
    explicit Folder(const std::string& program);

    // Lets a moment pass, of which a second has kPausesPerSecond. Throws when the host has sent a
    // program since this one began.
    void Pause() const;

    static constexpr int kPausesPerSecond = 100;

private:
    struct Stamp {
        ino_t file = 0;  // 0: there is none
        time_t seconds = 0;
        long nanoseconds = 0;
        bool operator==(const Stamp&) const = default;
    };
    std::array<Stamp, 4> Look() const;

    std::string path_;
    std::array<Stamp, 4> before_;
};

// An open endpoint; closes it.
class Endpoint {
public:
    Endpoint();
    explicit Endpoint(int epd) : epd_(epd) {}
    ~Endpoint();
    Endpoint(Endpoint&& other) noexcept;
    Endpoint& operator=(Endpoint&&) = delete;

    int Get() const { return epd_; }

    // Gives it the port of the exchange, which a program that is about to leave may still have.
    void Bind(const Folder& folder) const;

private:
    int epd_;
};

// The buffers of one end and their windows.
class Buffers {
public:
    // Every byte is `fill`.
    Buffers(const Shape& shape, U8 fill);

    void Register(const Endpoint& endpoint);
    void Unregister(const Endpoint& endpoint);

    // Each window of this end to the same offset of the host's, or the other way round.
    void WriteToHost(const Endpoint& endpoint) const;
    void ReadFromHost(const Endpoint& endpoint) const;

    // Throws at the first word that is not four times `expected`; refills each buffer that agreed.
    void VerifyAndRefill(U8 expected, U8 refill);

private:
    struct Free {
        void operator()(U32* words) const;
    };
    struct Buffer {
        std::unique_ptr<U32, Free> words;
        off_t offset = 0;
    };

    Shape shape_;
    std::vector<Buffer> buffers_;
};

// Tells the host that this end has come to a point, and waits for the host to come to its own.
void Meet(const Endpoint& endpoint, const char* point);

// Runs `exchange`, and prints the verdict under the program's name.
int Run(const char* name, int argc, char** argv,
        void (*exchange)(const Shape& shape, const Folder& folder));

}  // namespace peer
