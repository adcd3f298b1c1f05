#include "cli/CommandContext.hpp"

#include "BrindKit/island/HUDKey.hpp"
#include "BrindKit/island/HUDSteps.hpp"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace vq {

namespace {

struct Step {
    std::string direction;
    bool fine = false;
};

/// "volume 56%", "volume 56% muted", "brightness 100%", "keyboard 0%".
std::string describe(const std::string& step, const brind::JSON& hud) {
    std::string text = step + " " + brind::HUDSteps::percent(brind::JSONRead::number(hud, "value").value_or(0)) + "%";
    if (step == "volume" && brind::JSONRead::boolean(hud, "muted").value_or(false))
        text += " muted";
    return text;
}

void addStep(CLI::App& hud, CommandContext& context, const std::string& step, const std::string& help,
             const std::vector<std::string>& directions) {
    auto chosen = std::make_shared<Step>();
    CLI::App* command = hud.add_subcommand(step, help);
    command->add_option("DIRECTION", chosen->direction, CLI::detail::join(directions, "|"))
        ->required()
        ->check(CLI::IsMember(directions));
    command->add_flag("--fine", chosen->fine, "A small step (1/64 instead of 1/16)");
    command->callback([&context, step, chosen] {
        const auto token = context.cliToken();
        if (!token)
            return;
        const brind::JSON body{{"step", step}, {"direction", chosen->direction}, {"fine", chosen->fine}};
        const auto reply = context.call("POST", "/v1/hud", body, token);
        if (!reply)
            return;
        const brind::JSON* hud = brind::JSONRead::member(*reply, "hud");
        std::cout << describe(step, hud && hud->is_object() ? *hud : brind::JSON::object()) << "\n";
    });
}

} // namespace

void addHUDCommand(CLI::App& app, CommandContext& context) {
    CLI::App* hud = app.add_subcommand("hud", "Press a volume, brightness or keyboard-light key in the island");
    hud->require_subcommand(1);
    hud->footer("Bind your desktop's keys to these commands (see docs/LINUX.md). The island changes the "
                "level on a grid of 16 steps (64 with --fine), flashes it while the HUD is switched on, "
                "and prints the new level.");
    addStep(*hud, context, "volume", "Step the default output's volume, or toggle its mute", {"up", "down", "mute"});
    addStep(*hud, context, "brightness", "Step the display's backlight", {"up", "down"});
    addStep(*hud, context, "keyboard", "Step the keyboard light, or toggle it", {"up", "down", "toggle"});
}

} // namespace vq
