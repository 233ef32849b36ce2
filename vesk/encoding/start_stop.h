#ifndef VESK_ENCODING_START_STOP_H_
#define VESK_ENCODING_START_STOP_H_

#include <string>
#include <vector>

// A record of the library's static construction and destruction, so that tests
// can check the order in which the groups of shared state come and go. It needs
// no construction itself and may be used from any static initialiser.
namespace Vesk {
namespace StartStop {

// Adds a step such as "built converterMapLock" to the record; at most 64 steps
// are kept. Not for concurrent use: steps happen at load and at exit.
void Record(const char* step);

// The steps recorded so far, oldest first.
std::vector<std::string> Steps();

// A function called with each step as it is recorded, e.g. one that prints
// steps taken at exit from a child process. Null to stop observing.
void SetObserver(void (*observer)(const char* step));

}  // namespace StartStop
}  // namespace Vesk

#endif  // VESK_ENCODING_START_STOP_H_
