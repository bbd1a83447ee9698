#ifndef RTIQN_FOM_ORDERED_ROWS_H
#define RTIQN_FOM_ORDERED_ROWS_H

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace RtiqnFom {

/// Rows of one table, in the order in which they came, found by name. Copies share the rows: a row
/// is never changed, only replaced by a changed copy, so copying a table costs a pointer a row.
template <typename Row>
class OrderedRows {
public:
    using Pointer = std::shared_ptr<const Row>;

    /// False, and nothing is stored, when a row of that name is held.
    bool add(Row row) { return add(std::make_shared<const Row>(std::move(row))); }
    bool add(Pointer row) {
        if (!indexes_.emplace(row->name, rows_.size()).second)
            return false;
        rows_.push_back(std::move(row));
        return true;
    }

    /// Puts `row` in the place of the held row of the same name; the caller knows it is held.
    void replace(Row row) {
        const std::size_t index = indexes_.at(row.name);
        rows_[index] = std::make_shared<const Row>(std::move(row));
    }

    /// Null when no row of that name is held.
    const Row* find(const std::string& name) const {
        const auto found = indexes_.find(name);
        return found == indexes_.end() ? nullptr : rows_[found->second].get();
    }

    bool empty() const { return rows_.empty(); }
    std::size_t size() const { return rows_.size(); }
    auto begin() const { return rows_.begin(); }
    auto end() const { return rows_.end(); }

private:
    std::vector<Pointer> rows_;
    std::unordered_map<std::string, std::size_t> indexes_;
};

}  // namespace RtiqnFom

#endif
