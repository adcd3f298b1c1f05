#include "cli/CommandContext.hpp"
#include "cli/DoctorProbe.hpp"
#include "cli/DoctorReport.hpp"

#include <iostream>

namespace vq {

void addDoctorCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("doctor", "Report, feature by feature, what works on this desktop and why not");
    command->callback([&context] {
        const auto report = DoctorReport::from(DoctorProbe::gather());
        std::cout << report.text();
        if (!report.essentialsWork())
            context.exitCode = CommandContext::exitFailure;
    });
}

} // namespace vq
