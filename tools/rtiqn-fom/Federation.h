#ifndef RTIQN_FOM_FEDERATION_H
#define RTIQN_FOM_FEDERATION_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Conflict.h"
#include "Finding.h"
#include "FomTarget.h"
#include "ModelRows.h"
#include "TableCounts.h"

namespace RtiqnFom {

/// A module as it is merged: its classes below the standard's roots, its references collected.
struct LoadedModule {
    FomTarget target;
    std::vector<Finding> findings;
};

/// Reads a module and prepares it for merging. Throws as `readModule` does.
LoadedModule loadModule(const std::string& path);

struct MergeRules {
    OrynRti::DtFomType edition = OrynRti::DtFomTypeUnknown;
    bool strict = true;
    std::uint64_t tables = OrynRti::DtMergeFomAllTables;
    bool keepChanges = false;
};

/// The highest edition among the modules, which a federation of them takes.
OrynRti::DtFomType editionOf(const std::vector<LoadedModule>& modules);

/// What became of one module.
struct ModuleResult {
    std::string path;
    std::string name;
    bool creates = true;  ///< else it joined the federation
    OrynRti::DtMergeFomStatus_enum status = OrynRti::DtMergeFomSuccess;
    TableCounts rows;     ///< that it holds
    TableCounts brought;  ///< that the federation did not have before
    std::vector<Conflict> conflicts;
    std::optional<std::vector<RowChange>> changes;  ///< to the federation, when they are kept

    bool merged() const { return status == OrynRti::DtMergeFomSuccess; }
};

/// What the check after the merges found.
struct CheckResult {
    OrynRti::DtMergeFomStatus_enum status = OrynRti::DtMergeFomSuccess;
    std::string report;
    std::vector<std::string> skippedTables;

    bool passed() const { return status == OrynRti::DtMergeFomSuccess; }
};

/// Merges modules one by one into a federation's object model and keeps what there is to say.
///
///     Federation federation({OrynRti::DtFomTypeIeee1516_2010});
///     federation.merge(loadModule("base.xml"), true);
///     federation.merge(loadModule("radio.xml"), false);
///     federation.check();
///     return federation.succeeded();
///
/// A module that conflicts is refused as a whole and named with every conflict; the modules behind
/// it are merged all the same.
class Federation {
public:
    explicit Federation(const MergeRules& rules);

    /// `creates` is false for a module that joins the federation later.
    void merge(const LoadedModule& module, bool creates);

    /// Once, when all modules are merged.
    void check();

    /// Whether every module was merged and the check passed.
    bool succeeded() const;

    const FomTarget& target() const { return *target_; }
    const std::vector<ModuleResult>& modules() const { return modules_; }
    /// Sentences that begin with the place they speak of.
    const std::vector<std::string>& warnings() const { return warnings_; }
    const CheckResult& checkResult() const { return check_; }

private:
    void warn(const LoadedModule& module);
    void warn(const std::vector<std::string>& warnings);
    void addRemedy();
    void identify();

    std::unique_ptr<FomTarget> target_;
    bool keepChanges_;
    std::vector<ModuleResult> modules_;
    std::vector<std::string> warnings_;
    CheckResult check_;
};

/// Every table that may be left out of a merge.
std::vector<OrynRti::DtMergeFomTableMask> mergeTables();

}  // namespace RtiqnFom

#endif
