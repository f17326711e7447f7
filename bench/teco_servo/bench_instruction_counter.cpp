#include "instruction_counter.h"

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <unistd.h>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#define HAVE_CALLGRIND 1
#else
#define HAVE_CALLGRIND 0
#endif

namespace InstructionCounter {
namespace {
bool measuring = false;

std::string ownPath()
{
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

// "desc: Trigger: Client Request: <name>" and "summary: <instructions>" of one dump file.
bool readDump(const std::string& file, std::string& name, double& instructions)
{
    std::ifstream in(file);
    const std::string trigger = "desc: Trigger: Client Request: ";
    std::string line;
    bool haveName = false;
    bool haveCount = false;
    while (std::getline(in, line)) {
        if (line.compare(0, trigger.size(), trigger) == 0) {
            name = line.substr(trigger.size());
            haveName = true;
        } else if (line.compare(0, 9, "summary: ") == 0) {
            instructions = std::strtod(line.c_str() + 9, nullptr);
            haveCount = true;
        }
    }
    return haveName && haveCount;
}
} // namespace

#if HAVE_CALLGRIND
bool counting() { return RUNNING_ON_VALGRIND != 0; }

void begin()
{
    CALLGRIND_ZERO_STATS;
    measuring = true;
    CALLGRIND_TOGGLE_COLLECT;
}

void end(const std::string& name)
{
    CALLGRIND_TOGGLE_COLLECT;
    measuring = false;
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

Pause::Pause() : paused(measuring)
{
    if (paused)
        CALLGRIND_TOGGLE_COLLECT;
}

Pause::~Pause()
{
    if (paused)
        CALLGRIND_TOGGLE_COLLECT;
}
#else
bool counting() { return false; }
void begin() {}
void end(const std::string&) {}
Pause::Pause() : paused(false) {}
Pause::~Pause() {}
#endif

std::map<std::string, double> countInChildRun(const char* argument, std::string* why)
{
    std::map<std::string, double> counts;
    if (!HAVE_CALLGRIND) {
        *why = "built without valgrind's headers";
        return counts;
    }
    if (std::system("valgrind --version > /dev/null 2>&1") != 0) {
        *why = "valgrind is not installed";
        return counts;
    }
    char directory[] = "/tmp/teco_servo_bench.XXXXXX";
    if (mkdtemp(directory) == nullptr) {
        *why = "no temporary directory";
        return counts;
    }
    const std::string out = std::string(directory) + "/callgrind.out";
    const std::string command = "valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file=" + out
        + " -q '" + ownPath() + "' " + argument;
    if (std::system(command.c_str()) != 0)
        *why = "the run under callgrind failed";

    if (DIR* dir = opendir(directory)) {
        while (dirent* entry = readdir(dir)) {
            const std::string file = std::string(directory) + "/" + entry->d_name;
            std::string name;
            double instructions = 0;
            if (entry->d_name[0] != '.' && readDump(file, name, instructions))
                counts[name] = instructions;
            if (entry->d_name[0] != '.')
                std::remove(file.c_str());
        }
        closedir(dir);
    }
    rmdir(directory);
    return counts;
}

} // namespace InstructionCounter
