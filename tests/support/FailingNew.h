// Memory that runs out: non-throwing allocations that fail on request.
#pragma once

namespace Support
{

/// While it lives, the nth non-throwing allocation of the program fails, counted from now.
class FailingNew
{
public:
    explicit FailingNew(int nth);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    /// True once it has failed.
    bool failed() const;
};

} // namespace Support
