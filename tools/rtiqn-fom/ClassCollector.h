#ifndef RTIQN_FOM_CLASS_COLLECTOR_H
#define RTIQN_FOM_CLASS_COLLECTOR_H

#include <algorithm>
#include <cstddef>
#include <map>
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

    /// The member of that name among `members`, those of one kind that `owner` has so far; null
    /// when there is none.
    template <typename Member>
    const Member* memberOf(const Class& owner, const std::vector<Member>& members,
                           const std::string& kind, const std::string& name) {
        if (members.size() > theFewMembers)
            return memberIndexes_[{&owner - classes_.data(), kind}].find(members, name);
        const auto found = std::find_if(members.begin(), members.end(),
                                        [&](const Member& member) { return member.name == name; });
        return found == members.end() ? nullptr : &*found;
    }

    std::vector<Class> take() { return std::move(classes_); }

private:
    /// So many are sooner compared one by one.
    static constexpr std::size_t theFewMembers = 16;

    /// Finds the members of a class that has many; new ones are taken up when it is next asked.
    class MemberIndex {
    public:
        template <typename Member>
        const Member* find(const std::vector<Member>& members, const std::string& name) {
            for (std::size_t i = indexes_.size(); i < members.size(); ++i)
                indexes_.emplace(members[i].name, i);
            const auto found = indexes_.find(name);
            return found == indexes_.end() ? nullptr : &members[found->second];
        }

    private:
        std::unordered_map<std::string, std::size_t> indexes_;
    };

    std::vector<Class> classes_;
    std::unordered_map<std::string, std::size_t> indexes_;
    std::map<std::pair<std::ptrdiff_t, std::string>, MemberIndex> memberIndexes_;
};

}  // namespace RtiqnFom

#endif
