#ifndef RTIQN_TOOLS_DESCRIPTOR_H
#define RTIQN_TOOLS_DESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace RtiqnTools {

/// A file descriptor that is closed with the object.
class Descriptor {
public:
    /// Takes it over; below 0 for none.
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0)
            ::close(number_);
    }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }
    /// False when the system says that something written was lost.
    bool close() { return ::close(std::exchange(number_, -1)) == 0; }

private:
    int number_;
};

}  // namespace RtiqnTools

#endif
