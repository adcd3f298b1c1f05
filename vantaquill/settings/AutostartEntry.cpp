#include "vantaquill/settings/AutostartEntry.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Paths.hpp"

#include <sstream>

namespace vq {

std::filesystem::path AutostartEntry::userFile() {
    return brind::Paths::userConfig() / "autostart" / "vantaquill.desktop";
}

bool AutostartEntry::enabled() const {
    const auto text = brind::AtomicFile::read(file);
    if (!text)
        return false;
    std::istringstream lines(*text);
    for (std::string line; std::getline(lines, line);) {
        if (line == "Hidden=true")
            return false;
    }
    return true;
}

std::string AutostartEntry::contents() const {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=vantaquill\n"
           "Comment=Start the island with the session\n"
           "Exec=" + program + "\n"
           "Icon=vantaquill\n"
           "Terminal=false\n"
           "NoDisplay=true\n"
           "X-GNOME-Autostart-enabled=true\n";
}

std::expected<void, std::string> AutostartEntry::setEnabled(bool on) const {
    if (!on) {
        std::error_code error;
        std::filesystem::remove(file, error);
        if (error)
            return std::unexpected("couldn't remove " + file.string() + ": " + error.message());
        return {};
    }
    constexpr auto folderMode = std::filesystem::perms::owner_all | std::filesystem::perms::group_read |
                                std::filesystem::perms::group_exec | std::filesystem::perms::others_read |
                                std::filesystem::perms::others_exec;
    if (auto made = brind::AtomicFile::ensureFolder(file.parent_path(), folderMode); !made)
        return std::unexpected(made.error());
    return brind::AtomicFile::write(file, contents(),
                                    std::filesystem::perms::owner_read | std::filesystem::perms::owner_write |
                                        std::filesystem::perms::group_read | std::filesystem::perms::others_read);
}

} // namespace vq
