/// @file
/// Ctrl-C, a request to terminate and a closed terminal: noted, and acted upon between two commands.
#ifndef VELACREATE_INTERRUPT_H
#define VELACREATE_INTERRUPT_H

namespace velacreate {

/// Thrown where a job may stop because of an interrupt. No error, hence of no error's type.
struct Interrupted {};

/// From now on these signals no longer end the process or the programs that it starts; they are noted.
void watchForInterrupt();

bool isInterrupted();

} // namespace velacreate

#endif
