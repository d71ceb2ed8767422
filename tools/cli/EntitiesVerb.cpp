// SPDX-License-Identifier: Apache-2.0
// entities: the server's parts drawn as a tree.
#include "base/Failure.h"
#include "base/Json.h"
#include "cli/Verbs.h"
#include "sensors/EntityOutline.h"
#include "sensors/SensorReader.h"
#include "sensors/SensorTable.h"
#include "terminal/Progress.h"
#include "terminal/Table.h"
#include "terminal/Terminal.h"

namespace Tool
{

namespace
{

/// What stands before a line: of itself, and of what is below it.
struct Branch {
    std::string own, below;
};

/// Branches of all but the last thing below another, and of the last.
struct Branches {
    Branch inner, last;
};
const Branches kUnicode{{"├─ ", "│  "}, {"└─ ", "   "}};
const Branches kAscii{{"|- ", "|  "}, {"`- ", "   "}};

class Drawing
{
public:
    Drawing(const EntityOutline& tree, const std::vector<SensorView>& sensors)
        : tree_(tree), sensors_(sensors), branches_(unicodeWanted() ? kUnicode : kAscii)
    {
        for (const std::size_t item : tree.tops())
            draw(item, "", "");
    }
    std::string text() const { return table_.text(colourWanted()); }

private:
    void draw(std::size_t index, const std::string& start, const std::string& below)
    {
        const EntityOutline::Item& item = tree_.items()[index];
        table_.add({{start + entityTitle(item.entity)}});
        std::size_t left = item.sensors.size() + item.children.size();
        for (const std::size_t sensor : item.sensors) {
            std::vector<Table::Cell> cells = readingCells(sensors_[sensor]);
            for (Table::Cell* cell : {&cells.front(), &cells.back()})
                cell->text = cell->text.empty() ? "-" : cell->text;
            cells.insert(cells.begin(), {below + branch(left--).own + sensors_[sensor].name});
            table_.add(std::move(cells));
        }
        for (const std::size_t child : item.children) {
            const Branch& its = branch(left--);
            draw(child, below + its.own, below + its.below); // EntityOutline bounds the depth
        }
    }
    const Branch& branch(std::size_t left) const { return left == 1 ? branches_.last : branches_.inner; }

    const EntityOutline& tree_;
    const std::vector<SensorView>& sensors_;
    const Branches& branches_;
    Table table_{{{}, {.title = "", .align = Table::Align::kRight}, {.title = "", .gap = 1}, {}}};
};

Json jsonItem(const EntityOutline& tree, const std::vector<SensorView>& sensors, std::size_t index)
{
    const EntityOutline::Item& item = tree.items()[index];
    Json result = jsonOf(item.entity);
    result["sensors"] = Json::array();
    for (const std::size_t sensor : item.sensors)
        result["sensors"].push_back(jsonOf(sensors[sensor]));
    result["children"] = Json::array();
    for (const std::size_t child : item.children)
        result["children"].push_back(jsonItem(tree, sensors, child)); // EntityOutline bounds the depth
    return result;
}

void printJson(const EntityOutline& tree, const std::vector<SensorView>& sensors)
{
    Json entities = Json::array();
    for (const std::size_t item : tree.tops())
        entities.push_back(jsonItem(tree, sensors, item));
    writeOut(jsonDocument(Json{{"entities", std::move(entities)}}));
}

} // namespace

int entitiesVerb(const Options& options)
{
    std::optional<Progress> progress(std::in_place, "Reading the sensors");
    const NodeSession session(options.node);
    const std::vector<SensorView> sensors = viewsOf(readSensors(session));
    const EntityOutline tree(options.node, sensors);
    progress.reset();
    if (options.json)
        printJson(tree, sensors);
    else
        writeOut(Drawing(tree, sensors).text());
    return kExitFine;
}

} // namespace Tool
