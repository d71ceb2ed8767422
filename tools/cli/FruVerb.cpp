// SPDX-License-Identifier: Apache-2.0
// fru, fru decode: what the parts of the server say of themselves.
#include "base/Failure.h"
#include "base/Json.h"
#include "cli/Verbs.h"
#include "files/OutputFile.h"
#include "fru/FruReader.h"
#include "fru/FruView.h"
#include "ipmi/IpmiIfc.h"
#include "node/NodeSession.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <fmt/format.h>
#include <optional>
#include <utility>

namespace Tool
{

namespace
{

using FruViews = std::vector<FruView>;

void print(const FruViews& frus, bool json)
{
    Json list = Json::array();
    std::string text;
    for (const FruView& fru : frus) {
        if (json)
            list.push_back(jsonOf(fru));
        else
            text += (text.empty() ? "" : "\n") + textOf(fru, colourWanted());
    }
    writeOut(json ? jsonDocument(Json{{"fru", std::move(list)}}) : text);
}

int show(const Options& options, const FruSelection& selection)
{
    std::optional<Progress> progress(std::in_place, "Reading the hardware inventory");
    const NodeSession session(options.node);
    std::string trouble;
    FruDevices devices = readFruDevices(session, trouble);
    selection.apply(devices);
    FruViews views;
    for (const Ipmi::IpmiFruDevice& device : devices)
        views.emplace_back(Ipmi::IpmiIfc::readFru(options.node, device));
    progress.reset();
    print(views, options.json);
    if (trouble.empty())
        return kExitFine;
    complain(trouble);
    return kExitMistake;
}

std::vector<std::uint8_t> readImage(int node, const FruSelection& selection)
{
    const Progress progress("Reading the hardware inventory");
    const NodeSession session(node);
    std::string ignored; // the one that is wanted is there, or its absence is the failure
    return readFruImage(session, selection.one(readFruDevices(session, ignored)));
}

int dump(const Options& options, const FruSelection& selection, const std::string& path)
{
    const OutputFile file(path);
    const std::vector<std::uint8_t> image = readImage(options.node, selection);
    file.write(image);
    if (!file.isRegular())
        return kExitFine; // it may be standard output itself
    if (options.json)
        writeOut(jsonDocument({{"file", path}, {"bytes", image.size()}}));
    else
        writeOut(printable(fmt::format("{} bytes written to {}", image.size(), path)) + '\n');
    return kExitFine;
}

} // namespace

int fruVerb(const Options& options, const FruOptions& request)
{
    return request.dump ? dump(options, request.selection, *request.dump) : show(options, request.selection);
}

int fruDecodeVerb(const Options& options, const std::string& path)
{
    FruView fru(path, readFruFile(path));
    if (fru.device.areas.empty() && !fru.trouble.empty())
        throw Failure(fmt::format("{} is no FRU image: {}", path, fru.trouble));
    print({std::move(fru)}, options.json);
    return kExitFine;
}

} // namespace Tool
