#ifndef HOST_TESTS_PTY_PAIR_H
#define HOST_TESTS_PTY_PAIR_H

#include <fcntl.h>
#include <stdlib.h>
#include <string>

#include "raw_line.h"

// A bare pseudo-terminal: the port under test opens path(), the test plays the
// other end through peer().
class PtyPair {
public:
    PtyPair() : master(RawLine::adopt(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)))
    {
        char name[128] = {0};
        if (master.ok() && grantpt(master.descriptor()) == 0 && unlockpt(master.descriptor()) == 0
            && ptsname_r(master.descriptor(), name, sizeof name) == 0)
            slavePath = name;
    }
    bool ok() const { return !slavePath.empty(); }
    const std::string& path() const { return slavePath; }
    RawLine& peer() { return master; }

private:
    RawLine master;
    std::string slavePath;
};

#endif
