// trx-bmcsim as its users run it: unmodified programs on the simulated device, statuses, signals, mistakes.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
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
    /// A row's words, $BMCSIM and $FOLDER in them.
    Outcome run(const std::string& line) const
    {
        return shell("BMCSIM='" TRX_BMCSIM_PROGRAM "'; FOLDER='" + folder.string() + "'; export TMPDIR=$FOLDER; " +
                     line);
    }
    bool leftNothing() const
    {
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().filename().string().starts_with("trx-bmcsim-"))
                return false;
        return true;
    }

    std::filesystem::path folder;
};

} // namespace

TEST_F(Exec, endsAsTheCommandOrSaysWhatIsWrong)
{
    struct Row {
        const char* line;
        int status;
        const char* text; ///< in the output; with status 2 the output is one line
    };
    const Row rows[] = {
        {"$BMCSIM exec -- true", 0, ""},
        {"$BMCSIM exec -- sh -c 'exit 7'", 7, ""},
        {"$BMCSIM exec -- sh -c 'kill -9 $$'", 137, ""},
        {"$BMCSIM exec -- printf '<%s>' '[a,b]' '' -- '{x}'", 0, "<[a,b]><><--><{x}>"},
        {"$BMCSIM exec -- id -u", 0, "0\n"},
        {"ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=libm.so.6 $BMCSIM exec -- sh -c 'echo $LD_PRELOAD'", 0,
         "libm.so.6:/"},
        {"$BMCSIM exec -- sh -c 'stat -c %a $TRX_BMCSIM_DIR'", 0, "700\n"},
        {"$BMCSIM exec -- sh -c ': <>/dev/ipmi1'", 2, "/dev/ipmi1"},
        {"$BMCSIM exec -- sh -c 'trap \"exit 3\" TERM; kill -TERM $PPID; while :; do sleep 0.05; done'", 3, ""},
        {"$BMCSIM exec -- sh -c 'kill -INT $PPID; exec sleep 9'", 130, ""},
        {"$BMCSIM machines", 0, "sample\n"},
        {"$BMCSIM sdr $FOLDER/a && $BMCSIM sdr --machine sample $FOLDER/b && cmp $FOLDER/a $FOLDER/b", 0, ""},
        {"$BMCSIM", 2, "subcommand"},
        {"$BMCSIM exec", 2, "needs a command after --"},
        {"$BMCSIM exec --wrong -- true", 2, "--wrong"},
        {"$BMCSIM exec -- $FOLDER/none", 2, "cannot run"},
        {"$BMCSIM exec --machine none -- true", 2, "none"},
        {"$BMCSIM exec --sdr $FOLDER/none -- true", 2, "none: No such file"},
        {"$BMCSIM exec --faults /dev/null -- true", 2, "/dev/null"},
        {"$BMCSIM exec --fru 256=/dev/null -- true", 2, "--fru 256=/dev/null"},
        {"$BMCSIM exec --fru x -- true", 2, "--fru x"},
        {"$BMCSIM exec --latency -1 -- true", 2, "--latency"},
        {"$BMCSIM sdr $FOLDER/none/x", 2, "cannot write"},
    };
    for (const Row& row : rows) {
        const Outcome outcome = run(row.line);
        EXPECT_EQ(outcome.status, row.status) << row.line << '\n' << outcome.text;
        EXPECT_NE(outcome.text.find(row.text), std::string::npos) << row.line << '\n' << outcome.text;
        EXPECT_TRUE(row.status != 2 || std::count(outcome.text.begin(), outcome.text.end(), '\n') == 1) << outcome.text;
        EXPECT_TRUE(leftNothing()) << row.line;
    }
}

TEST_F(Exec, servesIpmitool)
{
    if (!has("ipmitool"))
        GTEST_SKIP() << "no ipmitool";
    std::ofstream(folder / "faults.json") << R"({"faults": [{"netfn": 6, "cmd": 1, "completion_code": 193}]})";
    struct Row {
        const char* line;
        int status;
        const char* text;
    };
    const Row rows[] = {
        {"$BMCSIM exec -- ipmitool -I open mc info", 0, "Manufacturer ID           : 32473"},
        {"$BMCSIM exec -- ipmitool -I open raw 6 1", 0, " 20 01 02 17 02"},
        {"$BMCSIM exec -- ipmitool -I open raw 6 0xee", 1, "rsp=0xc1"},
        {"$BMCSIM exec -- ipmitool -I open sensor list", 0, "CPU Temp         | 40.000     | degrees C  | ok"},
        {"$BMCSIM exec -- ipmitool -I open sdr list", 0, "Node Power       | 94 Watts          | ok"},
        {"$BMCSIM exec -- ipmitool -I open fru", 0, "Sample Mainboard"},
        {"$BMCSIM exec --ipmb-timeout 20 -- ipmitool -I open -t 0x84 mc info", 1, "Timeout"},
        {"$BMCSIM exec --faults $FOLDER/faults.json -- ipmitool -I open mc info", 1, "Invalid command"},
        {"$BMCSIM exec -- ipmitool -I open -d 1 mc info", 1, "No such file"},
        {"$BMCSIM exec -- sh -c 'ipmitool -I open sensor thresh \"CPU Temp\" ucr 96; ipmitool -I open sensor get \"CPU "
         "Temp\"'",
         0, "Upper Critical        : 96.000"},
        {"$BMCSIM exec -- sh -c 'for i in 1 2 3 4 5 6; do ipmitool -I open mc guid & done; wait'", 0, "System GUID"},
    };
    for (const Row& row : rows) {
        const Outcome outcome = run(row.line);
        EXPECT_EQ(outcome.status, row.status) << row.line << '\n' << outcome.text;
        EXPECT_NE(outcome.text.find(row.text), std::string::npos) << row.line << '\n' << outcome.text;
    }
}

TEST_F(Exec, servesFreeIpmi)
{
    if (!has("ipmi-sensors"))
        GTEST_SKIP() << "no FreeIPMI";
    const std::string options = " --driver-type=openipmi --sdr-cache-directory=$FOLDER";
    struct Row {
        const char* line;
        const char* text;
    };
    const Row rows[] = {
        {"ipmi-sensors", "| CPU Temp         | Temperature              | 40.00      | C"},
        {"ipmi-sel", "Upper Non-critical - going high ; Sensor Reading = 90.00 C"},
        {"ipmi-fru", "FRU Board Product Name: Sample Mainboard"},
    };
    for (const Row& row : rows) {
        const Outcome outcome = run(std::string("$BMCSIM exec -- ") + row.line + options);
        EXPECT_EQ(outcome.status, 0) << row.line;
        EXPECT_NE(outcome.text.find(row.text), std::string::npos) << row.line << '\n' << outcome.text;
    }
    EXPECT_NE(run("$BMCSIM exec -- bmc-info --driver-type=openipmi").text.find("Product ID            : 4660"),
              std::string::npos);
}

TEST_F(Exec, rawFilesAreTheMachine)
{
    const char* captures = std::getenv("TRX_CAPTURES");
    if (!captures || !has("ipmitool"))
        GTEST_SKIP() << "TRX_CAPTURES is not set, or no ipmitool";
    for (const char* machine : {"dell_r730", "quanta_t41", "s2600kp"}) {
        const std::string files = std::string(captures) + '/' + machine;
        const Outcome outcome = run("$BMCSIM exec --ipmb-timeout 1 --sdr " + files + "/sdr.bin --readings " + files +
                                    "/readings.txt -- ipmitool -I open sdr elist all");
        EXPECT_EQ(outcome.status, 0) << machine;
        EXPECT_GT(std::count(outcome.text.begin(), outcome.text.end(), '\n'), 60) << outcome.text;
    }
}
