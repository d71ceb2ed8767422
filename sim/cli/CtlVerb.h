// ctl: asks and changes a simulator that serves.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace Sim
{

/// The verb with its own verbs on the command line. It lives as long as the parser.
class CtlVerb
{
public:
    explicit CtlVerb(CLI::App& app);
    ~CtlVerb();
    CtlVerb(const CtlVerb&) = delete;
    CtlVerb& operator=(const CtlVerb&) = delete;

    bool parsed() const { return ctl_.parsed(); }
    /// Carries out what was parsed. Throws Failure.
    void run() const;

private:
    struct Words;

    CLI::App& ctl_;
    std::unique_ptr<Words> words_;
};

} // namespace Sim
