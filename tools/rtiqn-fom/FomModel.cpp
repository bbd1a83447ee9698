#include "FomModel.h"

namespace RtiqnFom {

std::string Place::text() const {
    return (file ? *file : std::string()) + ":" + std::to_string(line) + ":" +
           std::to_string(column);
}

}  // namespace RtiqnFom
