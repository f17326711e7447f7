#ifndef SIMULATOR_PSEUDO_TERMINAL_H
#define SIMULATOR_PSEUDO_TERMINAL_H

#include <string>

// A pseudo-terminal that passes bytes unchanged both ways, its master end
// non-blocking. The keeper holds the slave end open so that its raw settings stay
// while clients come and go. False with a readable failure; the caller closes
// whatever descriptors were opened (they are -1 otherwise).
bool openRawPty(int* master, int* keeper, std::string* path, std::string* failure);

#endif
