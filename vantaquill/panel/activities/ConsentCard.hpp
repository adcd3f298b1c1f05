#pragma once

#include "vantaquill/ConsentQueue.hpp"

#include <QFrame>

#include <functional>

class QPushButton;

namespace vq {

/// The island's consent prompt for one SDK client: who asks ("“Name” wants to connect" and its app
/// id), what it may do once allowed (one line per scope), and Allow / Don't allow. The safe answer,
/// Don't allow, is the button that takes the focus, so an Enter pressed by habit refuses.
class ConsentCard : public QFrame {
public:
    explicit ConsentCard(const ConsentQueue::Request& request, QWidget* parent = nullptr);

    const ConsentQueue::Request& request() const { return request_; }
    QPushButton* allowButton() const { return allow; }
    QPushButton* denyButton() const { return deny; }

    std::function<void(bool allowed)> onAnswer;

private:
    ConsentQueue::Request request_;
    QPushButton* deny;
    QPushButton* allow;
};

} // namespace vq
