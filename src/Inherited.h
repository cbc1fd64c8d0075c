// What the process has from its caller. A shell script, a service manager or a scheduler may have set
// any of it for purposes of its own, and exec keeps it.
//
// Put right at the start, because the run would go wrong with it:
//
//   standard streams that are closed   each would become some pipe or file that is opened later
//   standard input                     is the caller's, not that of the commands that the tool runs
//   outputs that do not wait           a slow reader would lose lines: they are waited for, and what the
//                                      caller set stays set
//   SIGCHLD ignored                    how a command ended would be lost: a healthy card would fail
//   SIGPIPE and SIGXFSZ                an output that cannot be written is told, and not the end
//   blocked signals                    the caller's time limit, and the operator's interrupt, would
//                                      reach neither the tool nor ssh and scp
//
// Left as it is, because the caller asks for it, or because nothing depends on it:
//
//   other ignored signals              who wants a run to outlive a signal ignores it, as nohup does
//   timers, limits of processor time   they limit the run as a whole; the tool sets none
//   limits of file size, of memory,    what fails for want of more is told like any other failure
//   of descriptors, of cores
//   umask                              the tool creates no file
//   working folder                     no file is looked for there but the one that -dp names; one
//                                      that is gone fails the memory tests, which ask for its name
//   priority                           only the DMA tests have limits of time, and wide ones: 36 and
//                                      60 seconds for an upload
#pragma once

// For the first lines of main, before anything is opened and any thread is started.
void PutInheritedRight();
