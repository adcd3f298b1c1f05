#include "vantaquill/panel/activities/ConsentCard.hpp"

#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace vq {

ConsentCard::ConsentCard(const ConsentQueue::Request& request, QWidget* parent)
    : QFrame(parent), request_(request), deny(new QPushButton(QStringLiteral("Don’t allow"))),
      allow(new QPushButton(QStringLiteral("Allow"))) {
    setProperty("card", true);
    setObjectName(QStringLiteral("consent:") + QString::fromStdString(request.appID));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(PanelStyle::margin, PanelStyle::spacing + 2, PanelStyle::margin, PanelStyle::spacing + 2);
    layout->setSpacing(4);

    auto* title = new ElidedLabel(QStringLiteral("“") + QString::fromStdString(request.name) +
                                  QStringLiteral("” wants to connect"));
    title->setObjectName(QStringLiteral("consentTitle"));
    title->setStyleSheet(QStringLiteral("font-weight: 600;"));
    layout->addWidget(title);
    auto* appID = new ElidedLabel(QString::fromStdString(request.appID));
    appID->setProperty("secondary", true);
    layout->addWidget(appID);

    auto* asks = new QLabel(QStringLiteral("Once allowed, it can:"));
    asks->setProperty("secondary", true);
    layout->addSpacing(2);
    layout->addWidget(asks);
    for (const auto scope : request.scopes) {
        const std::string_view words = brind::consentText(scope);
        auto* line = new ElidedLabel(QStringLiteral("•  ") + QString::fromUtf8(words.data(), qsizetype(words.size())));
        line->setObjectName(QStringLiteral("scope"));
        layout->addWidget(line);
    }

    deny->setObjectName(QStringLiteral("deny"));
    allow->setObjectName(QStringLiteral("allow"));
    allow->setProperty("role", QStringLiteral("primary"));
    for (auto* button : {deny, allow})
        button->setFocusPolicy(Qt::StrongFocus);
    connect(deny, &QPushButton::clicked, this, [this] {
        if (onAnswer)
            onAnswer(false);
    });
    connect(allow, &QPushButton::clicked, this, [this] {
        if (onAnswer)
            onAnswer(true);
    });
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(PanelStyle::spacing);
    buttons->addStretch(1);
    buttons->addWidget(deny);
    buttons->addWidget(allow);
    layout->addSpacing(4);
    layout->addLayout(buttons);
    setTabOrder(deny, allow);
}

} // namespace vq
