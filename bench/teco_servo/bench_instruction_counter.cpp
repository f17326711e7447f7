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
void begin() { CALLGRIND_ZERO_STATS; }
void end(const std::string& name) { CALLGRIND_DUMP_STATS_AT(name.c_str()); }
#else
void begin() {}
void end(const std::string&) {}
#endif

std::map<std::string, double> countInChildRun(const std::string& argument, const std::vector<std::string>& collected,
                                              const std::vector<std::string>& leftOut, std::string* why)
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
    // A function named to --toggle-collect switches collection on its entry
    // and back on its return: so the loop turns it on, and a left-out
    // function called inside the loop turns it off for its own duration.
    std::string command = "valgrind --tool=callgrind --collect-atstart=no -q --callgrind-out-file="
        + std::string(directory) + "/callgrind.out";
    for (const std::string& name : collected)
        command += " '--toggle-collect=" + name + "'";
    for (const std::string& name : leftOut)
        command += " '--toggle-collect=" + name + "'";
    command += " '" + ownPath() + "' " + argument;
    if (std::system(command.c_str()) != 0)
        *why = "the run under callgrind failed";

    if (DIR* dir = opendir(directory)) {
        while (dirent* entry = readdir(dir)) {
            if (entry->d_name[0] == '.')
                continue;
            const std::string file = std::string(directory) + "/" + entry->d_name;
            std::string name;
            double instructions = 0;
            if (readDump(file, name, instructions))
                counts[name] = instructions;
            std::remove(file.c_str());
        }
        closedir(dir);
    }
    rmdir(directory);
    return counts;
}

} // namespace InstructionCounter
