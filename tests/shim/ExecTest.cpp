// trx-bmcsim as its users run it: unmodified programs on the simulated device, statuses, signals, mistakes.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

struct Outcome {
    int status;
    std::string text; ///< stdout and stderr
};

Outcome shell(const std::string& line)
{
    std::FILE* pipe = ::popen(("{ " + line + "\n} 2>&1").c_str(), "re");
    Outcome outcome{-1, {}};
    std::array<char, 4096> room;
    for (std::size_t got; pipe && (got = std::fread(room.data(), 1, room.size(), pipe)) > 0;)
        outcome.text.append(room.data(), got);
    const int status = pipe ? ::pclose(pipe) : -1;
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

class Exec : public ::testing::Test
{
protected:
    Exec() : folder(std::filesystem::path(::testing::TempDir()) / ("trx-exec-" + std::to_string(::getpid())))
    {
        std::filesystem::create_directories(folder);
    }
    ~Exec() override { std::filesystem::remove_all(folder); }

    static bool has(const std::string& program) { return shell("command -v " + program).status == 0; }
    /// A line of the shell, with shorthands; its program under the simulator needs no more than its name.
    Outcome run(const std::string& line) const
    {
        return shell("BMCSIM='" TRX_BMCSIM_PROGRAM "'; EXEC=\"$BMCSIM exec --\"; TOOL='ipmitool -I open'; FOLDER='" +
                     folder.string() + "'; export TMPDIR=$FOLDER; " + line);
    }
    /// Status 2 is one line, whatever is wrong; nothing is ever left behind.
    void check(const std::string& line, int status, const std::string& text) const
    {
        const Outcome outcome = run(line);
        SCOPED_TRACE(line + '\n' + outcome.text);
        EXPECT_EQ(outcome.status, status);
        EXPECT_NE(outcome.text.find(text), std::string::npos);
        EXPECT_TRUE(status != 2 || std::count(outcome.text.begin(), outcome.text.end(), '\n') == 1);
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            EXPECT_FALSE(entry.path().filename().string().starts_with("trx-bmcsim-"));
    }

    std::filesystem::path folder;
};

struct Row {
    const char* line;
    int status;
    const char* text; ///< in the output
};

} // namespace

TEST_F(Exec, endsAsTheCommandOrSaysWhatIsWrong)
{
    const Row rows[] = {
        {"$EXEC sh -c 'kill -9 $$'", 137, ""},
        {"$EXEC printf '<%s>' '[a,b]' '' -- '{x}'", 0, "<[a,b]><><--><{x}>"},
        {"$EXEC id -u", 0, "0\n"},
        {"ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=libm.so.6 $EXEC sh -c 'echo $LD_PRELOAD'", 0, "libm.so.6:/"},
        {"$EXEC sh -c 'stat -c %a $TRX_BMCSIM_DIR'", 0, "700\n"},
        {"$EXEC sh -c ': <>/dev/ipmi1'", 2, "/dev/ipmi1"},
        {"$EXEC sh -c 'trap \"exit 3\" TERM; kill -TERM $PPID; while :; do sleep 0.05; done'", 3, ""},
        {"$EXEC sh -c 'kill -INT $PPID; exec sleep 9'", 130, ""},
        {"$BMCSIM machines", 0, "sample\n"},
        {"$BMCSIM sdr $FOLDER/a && $BMCSIM sdr --machine sample $FOLDER/b && cmp $FOLDER/a $FOLDER/b", 0, ""},
        {"$BMCSIM", 2, "subcommand"},
        {"$BMCSIM exec", 2, "needs a command after --"},
        {"$BMCSIM exec --wrong -- true", 2, "--wrong"},
        {"$EXEC $FOLDER/none", 2, "cannot run"},
        {"$BMCSIM exec --machine none -- true", 2, "none"},
        {"$BMCSIM exec --sdr $FOLDER/none -- true", 2, "none: No such file"},
        {"$BMCSIM exec --faults /dev/null -- true", 2, "/dev/null"},
        {"$BMCSIM exec --fru 256=/dev/null -- true", 2, "--fru 256=/dev/null"},
        {"$BMCSIM exec --fru x -- true", 2, "--fru x"},
        {"$BMCSIM exec --latency -1 -- true", 2, "--latency"},
        {"$BMCSIM sdr $FOLDER/none/x", 2, "cannot write"},
    };
    for (const Row& row : rows)
        check(row.line, row.status, row.text);
}

TEST_F(Exec, servesIpmitool)
{
    if (!has("ipmitool"))
        GTEST_SKIP() << "no ipmitool";
    std::ofstream(folder / "busy.json") << R"({"faults": [{"netfn": 6, "cmd": 8, "nth": 1, "busy_ms": 700}]})";
    const Row rows[] = {
        {"$EXEC $TOOL mc info", 0, "Manufacturer ID           : 32473"},
        {"$EXEC $TOOL sensor list", 0, "CPU Temp         | 40.000     | degrees C  | ok"},
        {"$EXEC $TOOL fru", 0, "Sample Mainboard"},
        {"$EXEC $TOOL sensor get 'Riser Temp'", 0, "Sensor Reading        : 44"},
        {"$BMCSIM exec --ipmb-timeout 20 -- $TOOL -t 0x84 mc info", 1, "Timeout"},
        {"$BMCSIM exec --faults $FOLDER/busy.json -- sh -c \"$TOOL raw 6 8 && ! $TOOL raw 6 1; sleep 1; $TOOL raw 6 "
         "4\"",
         0, "Device or resource busy"},
        {"$EXEC $TOOL -d 1 mc info", 1, "No such file"},
        {"$EXEC sh -c \"$TOOL sensor thresh 'CPU Temp' ucr 96; $TOOL sensor get 'CPU Temp'\"", 0,
         "Upper Critical        : 96.000"},
        {"$EXEC sh -c \"for i in 1 2 3 4 5 6; do $TOOL mc guid & done; wait\"", 0, "System GUID"},
    };
    for (const Row& row : rows)
        check(row.line, row.status, row.text);
}

TEST_F(Exec, servesFreeIpmi)
{
    if (!has("ipmi-sensors"))
        GTEST_SKIP() << "no FreeIPMI";
    for (const auto& [program, text] :
         {std::pair("ipmi-sensors --sdr-cache-directory=$FOLDER",
                    "| CPU Temp         | Temperature              | 40.00      | C"),
          {"ipmi-sel --sdr-cache-directory=$FOLDER", "Upper Non-critical - going high ; Sensor Reading = 90.00 C"},
          {"ipmi-fru --sdr-cache-directory=$FOLDER", "FRU Board Product Name: Sample Mainboard"},
          {"bmc-info", "Product ID            : 4660"}})
        check(std::string("$EXEC ") + program + " --driver-type=openipmi", 0, text);
}
