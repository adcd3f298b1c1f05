#include "vantaquill/clipboard/LinuxPasswordManagers.hpp"

#include "BrindKit/clipboard/ClipPrivacy.hpp"

namespace vq::LinuxPasswordManagers {

bool matches(std::string_view applicationID) {
    return brind::ClipPrivacy::matches(applicationID, applicationIDs) || brind::ClipPrivacy::isPasswordManager(applicationID);
}

} // namespace vq::LinuxPasswordManagers
