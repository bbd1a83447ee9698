#ifndef RTIQN_FOM_CLASS_COLLECTOR_H
#define RTIQN_FOM_CLASS_COLLECTOR_H

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "FomModel.h"

namespace RtiqnFom {

/// Gathers the classes of a module while it is read. A class that comes again joins the first one:
/// what that leaves out is completed, so a class may come as a bare scaffold before or behind its
/// definition. A class stands behind its parent, as in the document.
template <typename Class>
class ClassCollector {
public:
    /// The class of this name, which is added without any field when it is new.
    Class& at(const std::string& name, const Place& place) {
        const auto [found, isNew] = indexes_.emplace(name, classes_.size());
        if (isNew) {
            classes_.emplace_back();
            classes_.back().name = name;
            classes_.back().info.place = place;
        }
        return classes_[found->second];
    }

    /// Where this member of the class came first; null, and remembered, when it is new.
    const Place* earlierMember(const Class& owner, const std::string& member, const Place& place) {
        const auto [found, isNew] = members_.emplace(owner.name + "\n" + member, place);
        return isNew ? nullptr : &found->second;
    }

    std::vector<Class> take() { return std::move(classes_); }

private:
    std::vector<Class> classes_;
    std::unordered_map<std::string, std::size_t> indexes_;
    std::unordered_map<std::string, Place> members_;
};

}  // namespace RtiqnFom

#endif
