// The host's half of the host-to-card DMA check: connects to the card, lets it write a pattern into
// the host's windows and read the reply back.
#pragma once

#include "ZelTypes.h"

// `num_buff` buffers of `num_pages` pages, 64 MiB at most (reckoned with 32 bits and a sign);
// `map_Fixed` asks for windows at fixed offsets, `no_unregister` leaves them registered; `node` is the
// card's. Waits up to a minute for the card to listen. Returns 0 for success, else
//
//   1, 2, 3   too large or no endpoint; no port; no connection
//   -1        no memory for the list of buffers, a window, a fence or a pattern failed
//   the error of posix_memalign, or what a failed send or receive returned
//
// A send or receive that returned 0 ends the exchange with 0.
unsigned int vorl_connect_dma(unsigned int num_pages, unsigned int num_buff, unsigned int map_Fixed,
                              unsigned int no_unregister, U16 node);
