#ifndef INSTRUCTION_COUNTER_H
#define INSTRUCTION_COUNTER_H

#include <map>
#include <string>

// Instructions counted by valgrind's callgrind. The bench runs itself again
// under callgrind; in that run each measured loop is collected on its own and
// dumped under its name, and the first run reads the dumps back. Without
// valgrind nothing is counted and the bench falls back to timing.
namespace InstructionCounter {

// True in the run under callgrind.
bool counting();
// Collection of one measured loop, dumped as name when it ends.
void begin();
void end(const std::string& name);

// Leaves the enclosed work (the simulated servo's) out of the count.
class Pause {
public:
    Pause();
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

private:
    bool paused;
};

// Runs this program again under callgrind with argument and gives the
// instructions of every loop dumped, by name; empty when valgrind or its
// headers are missing, or the run fails.
std::map<std::string, double> countInChildRun(const char* argument, std::string* why);

} // namespace InstructionCounter

#endif
