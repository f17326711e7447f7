#ifndef INSTRUCTION_COUNTER_H
#define INSTRUCTION_COUNTER_H

#include <map>
#include <string>
#include <vector>

// Instructions counted by valgrind's callgrind. The bench runs itself again
// under callgrind, which collects only inside the functions named to it (the
// measured loop) and leaves out the functions named to be left out (the
// simulated servo; in the own-code run also the port and the system calls
// that stand in for the line). Each measured loop is dumped under its own
// name and the first run reads the dumps back. Without valgrind nothing is
// counted and the bench falls back to timing.
namespace InstructionCounter {

// Marks one measured loop: the counts start at zero and are dumped as name.
void begin();
void end(const std::string& name);

// Runs this program again under callgrind with argument, collecting inside
// the functions that match collected and leaving out those that match
// leftOut; gives the instructions of every loop dumped, by name. Empty when
// valgrind or its headers are missing, or the run fails (why says which).
std::map<std::string, double> countInChildRun(const std::string& argument, const std::vector<std::string>& collected,
                                              const std::vector<std::string>& leftOut, std::string* why);

} // namespace InstructionCounter

#endif
