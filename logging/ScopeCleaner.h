#pragma once

namespace zuLogging {

/// Stops `target` when it goes out of scope, unless it was dismissed: what was started half-way
/// does not stay running. The target must outlive it.
template <class Target>
class ScopeCleaner
{
public:
    explicit ScopeCleaner(Target& target)
        : target_(&target)
    {
    }
    ~ScopeCleaner()
    {
        if (target_ != nullptr)
            target_->stop();
    }
    ScopeCleaner(const ScopeCleaner&) = delete;
    ScopeCleaner& operator=(const ScopeCleaner&) = delete;

    void dismiss() noexcept { target_ = nullptr; }

private:
    Target* target_;
};

} // namespace zuLogging
