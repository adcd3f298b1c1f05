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
        // The island takes only files that exist; naming the others here tells the user which of
        // their paths were dropped, which the island's count alone cannot.
        brind::JSON list = brind::JSON::array();
        for (const auto& path : *paths) {
            std::error_code error;
            const auto absolute = std::filesystem::absolute(path, error);
            const std::string sent = error ? path : absolute.lexically_normal().string();
            if (!std::filesystem::exists(sent, error)) {
                std::cerr << "vantaquill: skipped " << path << ": no such file\n";
                continue;
            }
            list.push_back(sent);
        }
        const auto token = context.cliToken();
        if (!token)
            return;
        // With no file left the island's own refusal (400 no_files) is the message every client hears.
        const auto reply = context.call("POST", "/v1/shelf", brind::JSON{{"paths", list}}, token);
        if (!reply)
            return;
        const int added = brind::JSONRead::wholeInt(*reply, "added").value_or(0);
        if (added == 0) {
            context.fail("nothing was added: the files are already on the shelf");
            return;
        }
        std::cout << "added " << added << (added == 1 ? " file" : " files") << "\n";
    });
}

} // namespace vq
