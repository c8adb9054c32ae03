#include "vrex/internal/session/RepositorySession.hpp"

#include <algorithm>

#include "vrex/internal/session/RefAccess.hpp"
#include "vrex/internal/session/SchemaPlan.hpp"

namespace vrex::internal {

RepositorySession::RepositorySession(std::unique_ptr<Driver> driver,
                                     std::shared_ptr<const Metamodel> metamodel, const RepositoryOptions& options)
    : metamodel_(std::move(metamodel)),
      driver_(std::move(driver)),
      objects_(*driver_, *metamodel_, transactions_, options.objectCodec),
      transactions_(*driver_, objects_) {}

RepositorySession::~RepositorySession() { close(); }

void RepositorySession::close() {
    if (!driver_->isOpen()) return;
    objects_.discard();
    transactions_.forget();
    driver_->close();
}

void RepositorySession::checkIntegrity(tvdiag::util::diagnostics& diagnostics, bool forDamage) {
    std::vector<std::string> damaged;
    std::vector<std::string> missing;
    std::vector<std::string> foreign;
    if (!driver_->check((!forDamage || driver_->checkIntegrity(damaged)) && driver_->findMissingParts(missing) &&
                            driver_->findForeignParts(foreign),
                        "vrex:integrity:failed", "cannot check the registry", diagnostics)) {
        return;
    }
    for (const std::string& finding : damaged) {
        diagnostics.add("vrex:integrity:damaged", "the registry \"" + file() + "\" is damaged: " + finding);
    }
    for (const std::string& part : missing) {
        diagnostics.add("vrex:integrity:missing", "in the registry \"" + file() + "\", " + part +
                                                      " (opening it for writing makes it again)");
    }
    for (const std::string& part : foreign) {
        diagnostics.add("vrex:integrity:foreign", "in the registry \"" + file() + "\", " + part);
    }
}

bool RepositorySession::holdsClass(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics) {
    const ClassInfo* info = RefAccess::info(cls);
    std::vector<std::string> missing;
    if (info == nullptr || !driver_->check(driver_->findMissingParts(missing), "vrex:integrity:failed",
                                           "cannot inspect the registry", diagnostics)) {
        return false;
    }
    const auto lacks = [&](const std::string& part) {
        return std::find(missing.begin(), missing.end(), part) != missing.end();
    };
    if (lacks(SchemaPlan::missingTable(*info))) return false;
    for (const auto& property : info->properties) {
        if (lacks(SchemaPlan::missingColumn(*property))) return false;
    }
    return true;
}

}  // namespace vrex::internal
