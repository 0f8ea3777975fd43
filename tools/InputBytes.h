#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string_view>
#include <vector>

namespace zuLogging {

/// The bytes of a stream as they come: what has arrived is handed out before anything waits for
/// more of them.
class InputBytes
{
public:
    /// Called when everything that has arrived was handed out, before a read that may wait. False
    /// ends the bytes there. What it throws comes out of `peek`.
    using BeforeWait = std::function<bool()>;

    /// The stream must outlive the object, and so must `stopped`: once it is true, which may be
    /// another thread's doing, nothing more is read.
    explicit InputBytes(std::istream& stream, BeforeWait beforeWait = {},
                        const std::atomic<bool>* stopped = nullptr);

    /// Bytes not yet taken: at least one; none at the end. Valid until the next `peek` behind the
    /// last of them.
    std::string_view peek();
    /// Takes the first `count` of them.
    void take(std::size_t count) { begin_ += count; }

    /// True when the end was one of reading: the stream could not be read any further.
    bool failed() const { return failed_; }

private:
    void refill();

    std::istream& stream_;
    BeforeWait beforeWait_;
    const std::atomic<bool>* stopped_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    bool ended_ = false;
    bool failed_ = false;
};

} // namespace zuLogging
