#include "vantaquill/panel/PanelStyle.hpp"

#include <gtest/gtest.h>

namespace vq {

// Text must stay legible on the island's black in every state a control can be in.
TEST(PanelStyle, TextContrastsWithTheIslandInEveryGroup) {
    const QPalette palette = PanelStyle::palette();
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
            const QColor colour = palette.color(group, role);
            EXPECT_GT(colour.lightnessF(), 0.55) << int(group) << " " << int(role);
        }
    }
    EXPECT_EQ(palette.color(QPalette::Active, QPalette::Window), QColor(Qt::black));
}

} // namespace vq
