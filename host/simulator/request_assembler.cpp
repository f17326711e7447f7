#include "simulator/request_assembler.h"
#include "rtu/rtu_frame.h"

RequestAssembler::Frames RequestAssembler::take(const uint8_t* bytes, size_t count)
{
    pending.insert(pending.end(), bytes, bytes + count);
    return split(false);
}

RequestAssembler::Frames RequestAssembler::silence()
{
    return split(true);
}

RequestAssembler::Frames RequestAssembler::split(bool silenceSeen)
{
    Frames frames;
    while (!pending.empty()) {
        const int length = Rtu::requestLength(pending.data(), pending.size());
        if (length == Rtu::UnknownLength) {
            // Only the silence after it tells where such a frame ends.
            if (!silenceSeen)
                break;
            std::vector<uint8_t> frame;
            frame.swap(pending);
            if (Rtu::crcMatches(frame.data(), frame.size()))
                frames.push_back(std::move(frame));
            break;
        }
        if (length == Rtu::NeedMoreBytes || pending.size() < static_cast<size_t>(length)) {
            if (silenceSeen)
                pending.clear(); // a fragment the master gave up on
            break;
        }
        if (!Rtu::isWholeRequest(pending.data(), static_cast<size_t>(length))) {
            // A master sends nothing more before our answer or its time-out, so
            // everything held now belongs to the damaged frame.
            pending.clear();
            break;
        }
        frames.emplace_back(pending.begin(), pending.begin() + length);
        pending.erase(pending.begin(), pending.begin() + length);
    }
    return frames;
}
