// A card whose memory is plain memory of this process, in the place of the platform libraries: what
// remains of an access is one copy.
#pragma once

#include <cstddef>

#include "ZelTypes.h"

class PlainCard {
public:
    // Opens the card with `bytes` bytes of memory, all of them touched. Ends the process when there
    // is not so much.
    explicit PlainCard(std::size_t bytes);
    ~PlainCard();
    PlainCard(const PlainCard&) = delete;
    PlainCard& operator=(const PlainCard&) = delete;

    U8* Memory();
    std::size_t Bytes() const;

    // Whether one word of every range that is read is wrong.
    void SpoilReads(bool spoil);

    // The card is ready to be tested.
    void MakeReady();
};
