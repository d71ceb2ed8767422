// The verbs: each adds itself to the command line and, when chosen, sets Options::run.
#pragma once

#include "Options.h"

namespace CLI
{
class App;
}

namespace Tool
{

void addSensorsVerb(CLI::App& app, Options& options);
void addEntitiesVerb(CLI::App& app, Options& options);
void addInfoVerb(CLI::App& app, Options& options);
void addRawVerb(CLI::App& app, Options& options);
void addSdrVerb(CLI::App& app, Options& options);
void addMonitorVerb(CLI::App& app, Options& options);
void addSelVerb(CLI::App& app, Options& options);

} // namespace Tool
