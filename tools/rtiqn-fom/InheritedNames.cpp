#include "InheritedNames.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace RtiqnFom {

namespace {

struct Owned {
    const Attribute* attribute;
    const std::string* className;
    bool incoming;

    std::string path() const { return *className + "." + attribute->name; }
    Statement statement() const { return {path(), attribute->info.place}; }
};

/// Class names so that each class is followed by the classes below it.
bool precedesInTree(const std::string* left, const std::string* right) {
    const auto rank = [](char c) { return c == '.' ? 0 : 1 + static_cast<unsigned char>(c); };
    return std::lexicographical_compare(left->begin(), left->end(), right->begin(), right->end(),
                                        [&](char a, char b) { return rank(a) < rank(b); });
}

bool isBelow(const std::string& name, const std::string& above) {
    return name.size() > above.size() && name[above.size()] == '.' &&
           name.compare(0, above.size(), above) == 0;
}

/// The attributes that a class itself has after joining.
std::vector<Owned> joinedAttributes(const ObjectClass* held, const ObjectClass* incoming) {
    std::vector<Owned> joined;
    std::unordered_set<std::string_view> names;
    if (held)
        for (const Attribute& attribute : held->attributes)
            if (names.insert(attribute.name).second)
                joined.push_back({&attribute, &held->name, false});
    if (incoming)
        for (const Attribute& attribute : incoming->attributes)
            if (names.insert(attribute.name).second)
                joined.push_back({&attribute, &incoming->name, true});
    return joined;
}

bool bringsAttributes(const OrderedRows<ObjectClass>& held,
                      const OrderedRows<ObjectClass>& incoming) {
    return std::any_of(incoming.begin(), incoming.end(), [&](const auto& row) {
        const std::vector<Owned> joined = joinedAttributes(held.find(row->name), row.get());
        return !joined.empty() && joined.back().incoming;
    });
}

std::vector<const std::string*> namesInTreeOrder(const OrderedRows<ObjectClass>& held,
                                                 const OrderedRows<ObjectClass>& incoming) {
    std::vector<const std::string*> names;
    for (const auto& row : held)
        names.push_back(&row->name);
    for (const auto& row : incoming)
        if (!held.find(row->name))
            names.push_back(&row->name);
    std::sort(names.begin(), names.end(), precedesInTree);
    return names;
}

Conflict repeatOf(const Owned& upper, const Owned& lower) {
    const bool upperIsNew = upper.incoming && !lower.incoming;
    const Owned& held = upperIsNew ? lower : upper;
    const Owned& incoming = upperIsNew ? upper : lower;
    return {theObjectClassesStatus, "Attributes",     incoming.path(),
            "inherited name",       held.statement(), incoming.statement()};
}

/// The attributes visible in the class that the walk stands at.
class Scope {
public:
    void enter(const std::string& className) {
        while (!open_.empty() && !isBelow(className, *open_.back().className))
            leave();
        open_.push_back({&className, {}});
    }

    /// The inherited attribute of that name; null, and the attribute is visible from here on,
    /// when there is none.
    const Owned* add(const Owned& owned) {
        const auto [found, added] = visible_.emplace(owned.attribute->name, owned);
        if (!added)
            return &found->second;
        open_.back().names.push_back(owned.attribute->name);
        return nullptr;
    }

private:
    struct Class {
        const std::string* className;
        std::vector<std::string_view> names;
    };

    void leave() {
        for (const std::string_view name : open_.back().names)
            visible_.erase(name);
        open_.pop_back();
    }

    std::vector<Class> open_;
    std::unordered_map<std::string_view, Owned> visible_;
};

}  // namespace

std::vector<Conflict> inheritedNameConflicts(const OrderedRows<ObjectClass>& held,
                                             const OrderedRows<ObjectClass>& incoming) {
    std::vector<Conflict> conflicts;
    if (!bringsAttributes(held, incoming))
        return conflicts;
    Scope scope;
    for (const std::string* name : namesInTreeOrder(held, incoming)) {
        scope.enter(*name);
        for (const Owned& owned : joinedAttributes(held.find(*name), incoming.find(*name))) {
            const Owned* upper = scope.add(owned);
            if (upper && (upper->incoming || owned.incoming))
                conflicts.push_back(repeatOf(*upper, owned));
        }
    }
    return conflicts;
}

}  // namespace RtiqnFom
