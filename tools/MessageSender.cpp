#include "tools/MessageSender.h"

#include "logging/ConnectionInfo.h"

#include <utility>

namespace zuLogging {

MessageSender::MessageSender(Acknowledge acknowledge)
    : acknowledge_(acknowledge)
    , client_(readConnectionInfo())
{
}

bool MessageSender::send(LogMessageContainerBuilder& message, bool isCut)
{
    isCut = message.cutMessageToFit() > 0 || isCut;
    if (message.size() > maximumContainer)
        return false;
    Outgoing outgoing{message.build(), isCut};
    if (acknowledge_ == Acknowledge::Every) {
        transmit(outgoing, true);
        return true;
    }
    if (heldBack_)
        transmit(*std::exchange(heldBack_, std::nullopt),
                 sinceAcknowledge_ + 1 == acknowledgeInterval);
    heldBack_ = std::move(outgoing);
    return true;
}

void MessageSender::flush()
{
    if (heldBack_)
        transmit(*std::exchange(heldBack_, std::nullopt), true);
}

void MessageSender::transmit(const Outgoing& message, bool wantsAcknowledge)
{
    LogMessageContainerView view;
    view.data = message.container.data();
    view.length = message.container.size();
    if (wantsAcknowledge)
        client_.deliver(view);
    else
        client_.forward(view);
    sinceAcknowledge_ = wantsAcknowledge ? 0 : sinceAcknowledge_ + 1;
    ++sent_;
    cut_ += message.isCut ? 1 : 0;
}

} // namespace zuLogging
