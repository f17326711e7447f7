#ifndef SIMULATOR_REQUEST_ASSEMBLER_H
#define SIMULATOR_REQUEST_ASSEMBLER_H

#include <cstddef>
#include <cstdint>
#include <vector>

// The requests a slave hears, put together from bytes as they come. A request
// ends where its layout says (Rtu::requestLength), since a slave has no other
// way to find its end while the master is still sending; one of a function
// without a fixed layout ends at the silence after it. Only whole requests with
// a good CRC come out; a damaged one is dropped with everything held behind it.
class RequestAssembler {
public:
    using Frames = std::vector<std::vector<uint8_t>>;

    // Bytes as they came; the requests they complete, in order.
    Frames take(const uint8_t* bytes, size_t count);
    // The line fell silent: a fragment the master gave up on goes, a request of
    // unknown layout ends.
    Frames silence();
    // Bytes of a request not yet complete are held.
    bool holding() const { return !pending.empty(); }

private:
    Frames split(bool silenceSeen);

    std::vector<uint8_t> pending;
};

#endif
