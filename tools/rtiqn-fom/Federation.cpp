#include "Federation.h"

#include <algorithm>

#include "Conflicts.h"
#include "DatatypeWarnings.h"
#include "LibraryTables.h"
#include "OmtReader.h"
#include "Words.h"
#include "common/Console.h"

namespace RtiqnFom {

using namespace OrynRti;
using RtiqnTools::counted;

namespace {

constexpr const char* theSwitchesRemedy =
    "Remedy for the missing switches: merge the module that states them as well. Usually the main "
    "module of a FOM or a module named after the switches has them; the standard MIM has none.\n";

/// What becomes of an ignored conflict.
std::string consequence(DtMergeFomStatus_enum status) {
    if (status == DtMergeFomSwitchesConflict)
        return "the held value stays";
    if (status == DtMergeFomEnumeratedDataTypesConflict ||
        status == DtMergeFomVariantRecordDataTypesConflict)
        return "the held row stays as it is";
    return "no row of this table is taken from the module";
}

std::string ignored(const Conflict& conflict) {
    return conflict.incoming.place.text() + ": conflict ignored: " + text(conflict) + "; " +
           consequence(conflict.status);
}

bool allDatatypesEnabled(const FomTarget& target) {
    bool all = target.fomTableMergeEnabled(DtMergeFomTableReferenceType);
    visitDatatypeTables([&](const auto& table) { all &= target.fomTableMergeEnabled(table.mask); });
    return all;
}

std::string leftOutTags(const FomTarget& module) {
    return module.path() + ": " + counted(module.numUserSuppliedTags(), "user-supplied tag") +
           " left out: a federation of the edition of 2000 merges none";
}

}  // namespace

LoadedModule loadModule(const std::string& path) {
    std::vector<Finding> findings;
    FomTarget target = readModule(path, findings);
    for (const MovedRoot& root : target.placeRoots())
        findings.push_back({Severity::warning, root.place,
                            "class \"" + root.name +
                                "\" is no root of the standard; it is placed "
                                "below the root"});
    target.collectUnresolvedReferences();
    return {std::move(target), std::move(findings)};
}

std::vector<DtMergeFomTableMask> mergeTables() {
    std::vector<DtMergeFomTableMask> tables;
    for (std::uint64_t bit = DtMergeFomTableIdentification; bit <= DtMergeFomTableNotes; bit <<= 1)
        tables.push_back(static_cast<DtMergeFomTableMask>(bit));
    return tables;
}

OrynRti::DtFomType editionOf(const std::vector<LoadedModule>& modules) {
    DtFomType edition = DtFomTypeUnknown;
    for (const LoadedModule& module : modules)
        edition = std::max(edition, module.target.fomType());
    return edition;
}

Federation::Federation(const MergeRules& rules)
    : target_(std::make_unique<FomTarget>()), keepChanges_(rules.keepChanges) {
    target_->setFomType(rules.edition);
    target_->setStrictChecking(rules.strict);
    target_->setMergeTableMask(rules.tables);
}

void Federation::merge(const LoadedModule& module, bool creates) {
    const FomTarget& source = module.target;
    ModuleResult result;
    result.path = source.path();
    result.name = textOf(source.modelIdentification());
    result.creates = creates;
    result.rows = countsOf(source);

    auto candidate = std::make_unique<FomTarget>(*target_);
    result.status = candidate->mergeTarget(source, creates);
    if (!result.merged() || !target_->isStrictChecking())
        result.conflicts = findConflicts(*target_, source, creates);
    warn(module);
    if (result.merged()) {
        for (const Conflict& conflict : result.conflicts)
            warnings_.push_back(ignored(conflict));
        warn(droppedDatatypes(*target_, source));
        result.brought = difference(countsOf(*candidate), countsOf(*target_));
        if (keepChanges_)
            result.changes = changesBetween(*target_, *candidate);
        target_ = std::move(candidate);
    }
    modules_.push_back(std::move(result));
}

void Federation::warn(const LoadedModule& module) {
    for (const Finding& finding : module.findings)
        if (finding.severity != Severity::remark)
            warnings_.push_back(finding.place.text() + ": " + finding.text);
    if (target_->fomType() == DtFomTypeIeee1516_2000 && module.target.numUserSuppliedTags() != 0)
        warnings_.push_back(leftOutTags(module.target));
}

void Federation::warn(const std::vector<std::string>& warnings) {
    warnings_.insert(warnings_.end(), warnings.begin(), warnings.end());
}

/// The document of a merged model says what it was merged from.
void Federation::identify() {
    std::vector<std::string> names;
    for (const ModuleResult& module : modules_)
        if (module.merged())
            names.push_back(module.name);
    target_->setIdentificationFields(
        {{"type", "FOM", {}, {}}, {"description", "Merged from " + joined(names, ", "), {}, {}}});
}

void Federation::check() {
    identify();
    DtString report;
    check_.status = target_->postMergeCheckTarget(report);
    check_.report = textOf(report);
    for (const DtMergeFomTableMask table : mergeTables())
        if (!target_->fomTableMergeEnabled(table))
            check_.skippedTables.push_back(textOf(DtFedTarget::enumAsString(table)));
    addRemedy();
    if (allDatatypesEnabled(*target_))
        warn(unresolvedDatatypes(*target_));
}

void Federation::addRemedy() {
    DtString report;
    target_->resolveSwitches(report);
    if (!report.isEmpty())
        check_.report += theSwitchesRemedy;
}

bool Federation::succeeded() const {
    return check_.passed() &&
           std::all_of(modules_.begin(), modules_.end(),
                       [](const ModuleResult& module) { return module.merged(); });
}

}  // namespace RtiqnFom
