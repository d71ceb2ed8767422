// SPDX-License-Identifier: Apache-2.0
// What happens to files that are read and written.
#include "base/Failure.h"
#include "files/InputFile.h"
#include "files/OutputFile.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace Tool
{

namespace
{

const std::vector<std::uint8_t> kNew{'n', 'e', 'w'};

class FilesTest : public testing::Test
{
protected:
    FilesTest()
    {
        fs::create_directory(folder);
        ::umask(022);
    }
    ~FilesTest() override { fs::remove_all(folder); }

    void put(const std::string& name, const std::string& text) { std::ofstream(folder / name) << text; }
    std::size_t files() const { return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {})); }

    const fs::path folder = fs::path(testing::TempDir()) / ("files-" + std::to_string(::getpid()));
};

} // namespace

TEST_F(FilesTest, AFileIsAsTheUserMasksIt)
{
    for (const mode_t mask : {022U, 077U, 0U}) {
        ::umask(mask);
        fs::remove(folder / "f");
        OutputFile(folder / "f").write(kNew);
        EXPECT_EQ(static_cast<mode_t>(fs::status(folder / "f").permissions()), 0666 & ~mask);
        EXPECT_EQ(::umask(022), mask);
    }
}

TEST_F(FilesTest, WhatWasThereIsReplacedByTheWrite)
{
    put("f", "as before");
    fs::create_symlink("f", folder / "link");
    const OutputFile file(folder / "link");
    std::ifstream open(folder / "f"); // who reads it goes on reading the old one: it is not written over
    file.write(kNew);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(open), {}), "as before");
    std::ifstream now(folder / "f");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(now), {}), "new");
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(files(), 2U) << "the temporary one is gone";
}

TEST_F(FilesTest, WhatCannotBeWrittenIsLeftAsItIs)
{
    for (const std::string& path :
         {(folder / "none" / "f").string(), folder.string(), folder.string() + "/f/", std::string()})
        EXPECT_THROW(OutputFile{path}, Failure) << path;
    const OutputFile file(folder / "f");
    fs::create_directory(folder / "f"); // between the check and the write
    EXPECT_THROW(file.write(kNew), Failure);
    EXPECT_EQ(files(), 1U) << "no temporary file is left";
    EXPECT_FALSE(OutputFile("/dev/null").isRegular());
    OutputFile("/dev/null").write(kNew);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_THAT([] { OutputFile("/dev/full").write(kNew); },
                testing::ThrowsMessage<Failure>("cannot write /dev/full: No space left on device"));
}

TEST_F(FilesTest, InputIsReadWholeOrNotAtAll)
{
    put("f", "12345");
    EXPECT_EQ(readFile(folder / "f", 5), (std::vector<std::uint8_t>{'1', '2', '3', '4', '5'}));
    for (const char* path : {"f", "none", ".", "/dev/zero"})
        EXPECT_THROW(readFile(folder / path, 4), Failure) << path;
    EXPECT_TRUE(readFile("/dev/null", 0).empty());
}

} // namespace Tool
