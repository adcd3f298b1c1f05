#include "vantaquill/panel/PanelStyle.hpp"

#include <QString>

namespace vq {

QPalette PanelStyle::palette() {
    QPalette palette;
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        palette.setColor(group, QPalette::Window, Qt::black);
        palette.setColor(group, QPalette::WindowText, text());
        palette.setColor(group, QPalette::Base, card());
        palette.setColor(group, QPalette::AlternateBase, control());
        palette.setColor(group, QPalette::Text, text());
        palette.setColor(group, QPalette::PlaceholderText, secondaryText());
        palette.setColor(group, QPalette::Button, control());
        palette.setColor(group, QPalette::ButtonText, text());
        palette.setColor(group, QPalette::Highlight, accent());
        palette.setColor(group, QPalette::HighlightedText, Qt::white);
        palette.setColor(group, QPalette::Link, accent());
        palette.setColor(group, QPalette::ToolTipBase, card());
        palette.setColor(group, QPalette::ToolTipText, text());
    }
    palette.setColor(QPalette::Disabled, QPalette::WindowText, secondaryText());
    palette.setColor(QPalette::Disabled, QPalette::Text, secondaryText());
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, secondaryText());
    return palette;
}

// Buttons take a "role" property ("primary", "destructive", "cancel" or none) so that every
// section's Allow, Deny and plain buttons look alike.
QString PanelStyle::styleSheet() {
    return QStringLiteral(R"(
* { color: %1; font-size: %8px; }
QWidget#panelRoot, QStackedWidget, QScrollArea, QScrollArea > QWidget > QWidget { background: transparent; }
QLabel[secondary="true"] { color: %2; font-size: %9px; }
QFrame[card="true"] { background: %3; border-radius: %7px; }
QFrame[selectable="true"] { border: 1px solid transparent; background-clip: border; }
QFrame[selectable="true"]:focus { border-color: %5; }
QPushButton, QToolButton { background: %4; border: none; border-radius: 7px; padding: 4px 12px; min-height: 20px; }
QPushButton:hover, QToolButton:hover { background: #3A3A3C; }
QPushButton:focus, QToolButton:focus { outline: none; border: 2px solid %5; padding: 2px 10px; }
QPushButton:disabled { color: %2; }
QPushButton[role="primary"] { background: %5; color: white; }
QPushButton[role="destructive"] { background: %6; color: white; }
QPushButton[role="cancel"] { background: transparent; color: %2; }
QPushButton[role="primary"]:disabled, QPushButton[role="destructive"]:disabled { background: %4; color: %2; }
QLineEdit, QPlainTextEdit, QTextEdit, QTextBrowser { background: %3; border: 1px solid #3A3A3C; border-radius: 7px; padding: 3px 6px; selection-background-color: %5; }
QLineEdit:focus, QPlainTextEdit:focus, QTextEdit:focus { border: 1px solid %5; }
QListView, QListWidget, QTreeView { background: transparent; border: none; outline: none; }
QListView::item:selected, QListWidget::item:selected { background: %4; border-radius: 6px; }
QCheckBox, QRadioButton { spacing: 6px; }
QScrollBar:vertical { background: transparent; width: 6px; margin: 0; }
QScrollBar::handle:vertical { background: #48484A; border-radius: 3px; min-height: 24px; }
QScrollBar::add-line, QScrollBar::sub-line, QScrollBar::add-page, QScrollBar::sub-page { background: none; height: 0; }
QScrollBar:horizontal { height: 0; }
QProgressBar { background: %4; border: none; border-radius: 3px; max-height: 6px; }
QProgressBar::chunk { background: %5; border-radius: 3px; }
)")
        .arg(text().name(), secondaryText().name(), card().name(), control().name(), accent().name(),
             destructive().name(), QString::number(radius), QString::number(bodySize), QString::number(smallSize));
}

} // namespace vq
