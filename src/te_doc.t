# Help text of ZelDiag, printed behind the list of test groups. 80 columns wide.
# A "#" begins a comment that runs to the end of its line; everything else is
# printed as it stands.

Usage:
        ZelDiag [global options] <group> <tests and options>
                [<group> <tests and options> ...]

  Options are given in this order:
   1. -summary and -devicelist, in either order, each at most once
   2. other global options (they count wherever they stand)
   3. a test group, and behind it its tests and options; then the next group
  A word is offered to every group named before it. Groups run in the order of
  the list above, and tests in the order of the lists below, whatever their
  order on the command line.
  Letter case does not matter, but for -summary, -devicelist, the names of the
  memory tests and the widths of -datawidth.

Global Options:
   -help           this text; behind a group, that group's help; behind a core
                   test, that test's
   -exitOnFail     a failed test ends the card's run; the next card is tested
                   (default)
   -skipOnFail     a failed test ends its own repetitions only
   -noExitOnFail   go on whatever fails
   -quietMode      no progress and result lines; errors, the summary and what
                   core and SMC tests print remain

Options of every group:
   -all            every test of the groups named so far
   -help           the group's tests and notes; nothing is tested
   -dbgLvl=<n> or -debugLevel=<n>
                   4: place and reason of each failure, on standard error
                   8: a line for each passed test; 12: both
   -breakOnFail or -brkOnFail, -continueOnFail or -contOnFail
                   whether a test stops at its first failure (memory tests)

Options of the memory tests (ZelDiag -mem -help tells more):
   -startAddress=<hex>, -endAddress=<hex>, -memSize=<bytes>
                   what -wr tests
   -datawidth=<width> or -dw=<width>
                   BYTE, WORD, DWORD or QWORD; B, W, DW or QW
   -datapattern=<hex>, -dp=<hex> or -data=<hex>
                   what is written
   -testchannel=<hex> or -tc=<hex>
                   accepted, and without effect

Tests (state of the card; time a card):
  -pcie   normal mode
   -vls    the link trained to 5 GT/s                                    5 s
   -vlw    the link trained to 16 lanes                                  at once
   -vdi    Settings.ini allows the device id                             at once
   -vrs    Settings.ini allows vendor, subsystem and revision ids        at once
   -vbs    POST code is 11, 12 or FF                                     at once
   -vsrdv  half of the SBOX registers hold their power-on defaults       at once
  -mem    ready state (usage mode offline); -info any
   -full   the whole memory written, read back and compared              minutes
   -wr     a range of memory written, read back and compared             by size
   -info   maker, revision, type, speed and size; Settings.ini allows
           the maker                                                     at once
  -core   normal mode
   -gec    number of enabled cores, shown; any number passes             at once
   -gnt    four threads are enabled on every core                        at once
   -gid    the identification register names the coprocessor family      at once
   -c      a cache workload runs on the card and finds no error          seconds
   -v      a vector-unit workload runs on the card and finds no error    seconds
  -dma    normal mode
   -vdh2l  host connects; what the card writes and reads is unchanged    seconds
   -vdl2h  card connects; what the host writes and reads is unchanged    seconds
  -smc    normal mode, current generation (on another card a test does nothing)
   -fwv    firmware version, shown                                       at once
   -hwr    hardware revision, shown                                      at once
   -uuid   UUID, shown                                                   at once
  A group that needs normal mode is left out on a card in another mode, and the
  summary says so.

Exit Status:
   0     the last card tested passed; or help was shown, or no test was named
   1     the last card tested failed, or the run could not start or end properly
   127   ZelDiag did not start: a library is missing, which the loader names
   251   the user is not root
  Only the last card decides: look at the report, or at -summary, for the cards
  before it.

Examples:
   ZelDiag -summary -core -smc -all -pcie -vls -vlw -vdi -vrs -vbs
   ZelDiag -summary -devicelist 0,2 -core -gec -gnt
   ZelDiag -smc -uuid -dbgLvl=12
   ZelDiag -core -gid -help
