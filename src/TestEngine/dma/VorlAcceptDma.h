// The host's half of the card-to-host DMA check: accepts the card's connection, writes a pattern into
// the card's windows, reads the reply back and checks it.
#pragma once

#include <cstddef>

#include "TestEngine/dma/VorlExchange.h"

// Transfer times of one direction each, in microseconds. Stamps are taken around every transfer, and
// nothing fills or reports this record yet.
struct perf {
    size_t msg_size;
    unsigned long writeto_usec;
    unsigned long readfrom_usec;
    unsigned long vwriteto_usec;
    unsigned long vreadfrom_usec;
};

// The parameters are those of vorl_connect_dma; the size is reckoned with 64 bits. Waits for the card
// to connect, however long that takes, and sets `*threadAcceptState` to 1 when it has. Returns 0 for
// success, the error of posix_memalign, what a failed send or receive returned (0 among it), and 1 for
// every other failure.
//
// May run on a thread with asynchronous cancellation: it is left where it waits for the card, and
// what it holds is released.
unsigned int vorl_accept_dma(unsigned int num_pages, unsigned int num_buff, unsigned int map_Fixed,
                             unsigned int no_unregister, U32* threadAcceptState,
                             const VorlErrorSink& logError = k_VorlErrorsToSummary);
