#include "tools/LogTail.h"

#include "logging/LogSvcError.h"
#include "tools/TailJsonSink.h"
#include "tools/TailTextSink.h"

#include <algorithm>
#include <stdexcept>

namespace zuLogging {

namespace {

using namespace std::chrono_literals;

/// What goes to the system in one write, when there is so much.
constexpr std::size_t writeSize = 64 * 1024;
/// A reader of the error stream that is slow to take the last lines.
constexpr auto lastNotesPatience = 200ms;

std::string counted(std::uint64_t number, const char* one, const char* many)
{
    return std::to_string(number) + ' ' + (number == 1 ? one : many);
}

/// Messages that never came, as far as it is known.
struct Lost
{
    explicit Lost(const LogLedger& ledger)
        : inSocket(ledger.count(LogCount::LostInSocket))
    {
        // What was lost in the socket is missing in the numbers as well, once the next one comes.
        const std::uint64_t missing = ledger.count(LogCount::MissingNumbers);
        before = missing > inSocket ? missing - inSocket : 0;
    }

    std::uint64_t sum() const { return inSocket + before; }
    std::string causes() const
    {
        std::string text;
        if (inSocket > 0)
            text = std::to_string(inSocket) + " came faster than they could be received";
        if (before > 0)
            text += (text.empty() ? "" : ", ") + std::to_string(before) +
                    " missing in the numbers of those that came";
        return text;
    }

    std::uint64_t inSocket;
    std::uint64_t before;
};

constexpr auto lostNotePeriod = 1s;

} // namespace

LogTail::LogTail(const Options& options, Channel& out, Channel& err)
    : options_(options)
    , out_(out)
    , notes_(err)
    , greets_(err.isTerminal())
    , queue_(options.queueLimit, [this] { wake_.raise(); })
    , ledger_(std::make_shared<LogLedger>())
{
    if (options_.json)
        format_ = std::make_unique<TailJsonSink>(text_);
    else
        format_ = std::make_unique<TailTextSink>(text_);
}

LogTail::~LogTail() = default;

void LogTail::stop() noexcept
{
    isStopped_.store(true);
    wake_.raise();
}

void LogTail::abandon() noexcept
{
    isAbandoned_.store(true);
    wake_.raise();
}

void LogTail::follow()
{
    if (!out_.isOpen()) {
        end_ = End::Failed; // it would be told when the first message came
        return;
    }
    // First: messages may come before the subscription is acknowledged.
    listener_ = std::make_unique<TailListener>(queue_, ledger_);
    subscription_ = std::make_unique<TailSubscription>(listener_->boundAddress(), options_.replay);
    if (greets_)
        notes_.say("showing the messages of the log service at " +
                   socketAddressText(subscription_->service()) + "; Ctrl+C ends");
    nextLook_ = Clock::now() + subscription_->period();

    while (end_ == End::None) {
        wake_.lower();
        if (isStopped_.load()) {
            end_ = End::Stopped;
            return;
        }
        look();
        if (!hasUnwritten())
            fill();
        if (hasUnwritten())
            write();
        else if (isCounted())
            end_ = End::Counted;
        else
            wait();
    }
}

void LogTail::finish()
{
    if (subscription_)
        subscription_->end();
    if (listener_)
        listener_->stop(); // with what has arrived in the queue

    lastProgress_ = Clock::now();
    while (end_ == End::Stopped && !isAbandoned_.load()) {
        wake_.lower();
        if (!hasUnwritten())
            fill();
        if (!hasUnwritten())
            break;
        write();
        if (Clock::now() - lastProgress_ >= options_.lastPatience)
            break;
    }
    tellSummary();
    if (end_ == End::Failed)
        throw std::runtime_error("cannot write to standard output: " + out_.error());
}

/// Turns what waits into lines, as much as one write takes.
void LogTail::fill()
{
    text_.clear();
    bool isTaken =
        false; // once a call: who sends without rest what cannot be read must not keep us
    LogMessageContainerView container;
    while (text_.size() < writeSize && !isCounted()) {
        if (!batch_.next(container)) {
            if (isTaken || !queue_.take(batch_))
                break;
            isTaken = true;
            continue;
        }
        try {
            format_->consume(container);
            ++written_;
        } catch (const LogSvcError&) {
            ++unreadable_;
        }
    }
    left_ = text_;
}

/// Writes as much as there is room for, and waits for room when there is none.
void LogTail::write()
{
    const std::size_t before = left_.size();
    switch (out_.write(left_)) {
    case Channel::Result::Done:
        lastProgress_ = Clock::now();
        return;
    case Channel::Result::Full:
        if (left_.size() < before)
            lastProgress_ = Clock::now();
        wait();
        return;
    case Channel::Result::Closed:
        end_ = End::Closed;
        return;
    case Channel::Result::Failed:
        end_ = End::Failed;
        return;
    }
}

/// Waits for whatever there is to wait for: room if there is something to write, messages, the end,
/// the next look at the service.
void LogTail::wait()
{
    const Clock::time_point until =
        end_ == End::None ? nextLook_ : lastProgress_ + options_.lastPatience;
    const auto time =
        std::max(std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()), 0ms);
    if (out_.wait(time, wake_, hasUnwritten()) == Channel::Event::Closed)
        end_ = End::Closed;
}

/// What is done once a second, or so.
void LogTail::look()
{
    const Clock::time_point now = Clock::now();
    if (now < nextLook_)
        return;
    const std::uint64_t received = queue_.received();
    const std::string told = subscription_->keep(received != received_);
    received_ = received;
    if (!told.empty())
        notes_.say(told);
    tellDropped();
    if (now >= nextLostNote_)
        tellLost();
    notes_.flush();
    nextLook_ = now + subscription_->period();
}

void LogTail::tellDropped()
{
    const std::uint64_t dropped = queue_.dropped();
    if (dropped == toldDropped_)
        return;
    toldDropped_ = dropped;
    notes_.say("standard output is too slow; " + counted(dropped, "message", "messages") +
               " dropped so far");
}

void LogTail::tellLost()
{
    const Lost lost(*ledger_);
    if (lost.sum() <= toldLost_)
        return;
    toldLost_ = lost.sum();
    nextLostNote_ = Clock::now() + lostNotePeriod;
    notes_.say(counted(lost.sum(), "message", "messages") + " lost: " + lost.causes());
}

void LogTail::tellSummary()
{
    if (end_ == End::Stopped) {
        std::uint64_t unwritten =
            static_cast<std::uint64_t>(std::count(left_.begin(), left_.end(), '\n'));
        do
            unwritten += batch_.left();
        while (queue_.take(batch_));
        if (unwritten > 0)
            notes_.say(counted(unwritten, "message", "messages") +
                       " that had arrived could not be written any more");
    }
    if (const std::uint64_t dropped = queue_.dropped(); dropped > 0)
        notes_.say(counted(dropped, "message was", "messages were") +
                   " dropped, because standard output was too slow");
    if (const Lost lost(*ledger_); lost.sum() > 0)
        notes_.say(counted(lost.sum(), "message was", "messages were") +
                   " lost on the way: " + lost.causes());
    if (const std::uint64_t broken = unreadable_ + queue_.broken(); broken > 0)
        notes_.say(counted(broken, "message", "messages") + " could not be read");
    notes_.flush(lastNotesPatience);
}

} // namespace zuLogging
