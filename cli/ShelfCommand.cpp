#include "cli/CommandContext.hpp"

#include <filesystem>
#include <iostream>

namespace vq {

void addShelfCommand(CLI::App& app, CommandContext& context) {
    auto paths = std::make_shared<std::vector<std::string>>();
    CLI::App* shelf = app.add_subcommand("shelf", "Work with the island's file shelf");
    shelf->require_subcommand(1);
    CLI::App* add = shelf->add_subcommand("add", "Add files to the shelf");
    add->add_option("PATH", *paths, "Files to add (relative paths are taken from the current folder)")
        ->required();
    add->callback([paths, &context] {
        brind::JSON list = brind::JSON::array();
        for (const auto& path : *paths) {
            std::error_code error;
            const auto absolute = std::filesystem::absolute(path, error);
            list.push_back(error ? path : absolute.lexically_normal().string());
        }
        const auto token = context.cliToken();
        if (!token)
            return;
        if (const auto reply = context.call("POST", "/v1/shelf", brind::JSON{{"paths", list}}, token)) {
            const auto added = brind::JSONRead::number(*reply, "added").value_or(0);
            std::cout << "added " << static_cast<long long>(added) << (added == 1 ? " file" : " files") << "\n";
        }
    });
}

} // namespace vq
