#include "Reassembler.h"

#include <algorithm>
#include <iterator>

namespace RtiqnDis {

namespace {

constexpr double thePatience_s = 60;
constexpr std::size_t theMaxPending = 256;
constexpr std::size_t theMaxPayload_bytes = 65535;

}  // namespace

bool Reassembler::add(UdpCarrier& carrier, double time_s) {
    dropOld(time_s);
    const Position pending = pendingOf(carrier, time_s);
    if (pending->contradicts)
        return false;
    if (!addPart(*pending, carrier)) {
        reportLoss(*pending, Loss::FragmentsOverlap);
        pending->contradicts = true;
        pending->parts.clear();
        pending->bytes = {};
        return false;
    }
    if (pending->size == 0 || pending->held != pending->size)
        return false;
    whole_ = std::move(pending->bytes);
    carrier.bytes = ByteView(whole_.data(), whole_.size());
    byKey_.erase(pending->key);
    pending_.erase(pending);
    return true;
}

void Reassembler::finish() {
    while (!pending_.empty())
        drop(pending_.begin());
}

Reassembler::Position Reassembler::pendingOf(const UdpCarrier& carrier, double time_s) {
    const Key key(carrier.source, carrier.destination, carrier.identification);
    const auto known = byKey_.find(key);
    if (known != byKey_.end())
        return known->second;
    if (pending_.size() >= theMaxPending)
        drop(pending_.begin());
    pending_.emplace_back();
    pending_.back().key = key;
    pending_.back().since_s = time_s;
    pending_.back().carrier = carrier;
    return byKey_[key] = std::prev(pending_.end());
}

void Reassembler::reportLoss(const Pending& pending, Loss loss) {
    UdpCarrier carrier = pending.carrier;
    const auto first = pending.parts.find(0);
    carrier.bytes = ByteView(pending.bytes.data(),
                             first == pending.parts.end() ? std::size_t{0} : first->second);
    givenUp_(carrier, loss);
}

void Reassembler::drop(Position pending) {
    if (!pending->contradicts)
        reportLoss(*pending, Loss::FragmentsMissing);
    byKey_.erase(pending->key);
    pending_.erase(pending);
}

/// Times that jump back make nothing old.
void Reassembler::dropOld(double now_s) {
    while (!pending_.empty() && now_s - pending_.front().since_s > thePatience_s)
        drop(pending_.begin());
}

/// False when the fragment is malformed or contradicts the others; one that comes twice does not.
bool Reassembler::addPart(Pending& pending, const UdpCarrier& fragment) {
    const std::size_t begin = fragment.fragmentOffset_bytes;
    const std::size_t end = begin + fragment.bytes.size();
    if (begin == end || end > theMaxPayload_bytes || (fragment.moreFragments && end % 8 != 0))
        return false;
    if (!fragment.moreFragments) {
        if (pending.size != 0 && pending.size != end)
            return false;
        pending.size = end;
    }
    const auto after = pending.parts.lower_bound(begin);
    if (after != pending.parts.end() && after->first == begin && after->second == end)
        return true;
    const bool overlapsNext = after != pending.parts.end() && after->first < end;
    const bool overlapsLast = after != pending.parts.begin() && std::prev(after)->second > begin;
    if (overlapsNext || overlapsLast)
        return false;
    pending.parts.emplace_hint(after, begin, end);
    pending.held += end - begin;
    pending.bytes.resize(std::max(pending.bytes.size(), end));
    std::copy_n(fragment.bytes.data(), fragment.bytes.size(),
                pending.bytes.begin() + static_cast<std::ptrdiff_t>(begin));
    return pending.size == 0 || pending.bytes.size() <= pending.size;
}

}  // namespace RtiqnDis
