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
    std::string content(const std::string& name) const
    {
        std::ifstream file(folder / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    mode_t mode(const std::string& name) const { return static_cast<mode_t>(fs::status(folder / name).permissions()); }
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
        EXPECT_EQ(mode("f"), 0666 & ~mask);
        EXPECT_EQ(::umask(022), mask);
        EXPECT_EQ(content("f"), "new");
    }
    EXPECT_EQ(files(), 1U) << "the temporary one is gone";
}

TEST_F(FilesTest, NothingIsTouchedBeforeTheWrite)
{
    put("f", "as before");
    const OutputFile file(folder / "f");
    EXPECT_EQ(content("f"), "as before");
    EXPECT_EQ(files(), 1U);
    std::ifstream open(folder / "f"); // who reads it goes on reading the old one: it is replaced, not written over
    file.write(kNew);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(open), {}), "as before");
    EXPECT_EQ(content("f"), "new");
}

TEST_F(FilesTest, ALinkStaysALink)
{
    put("f", "as before");
    fs::create_symlink("f", folder / "link");
    OutputFile(folder / "link").write(kNew);
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_FALSE(fs::is_symlink(folder / "f"));
    EXPECT_EQ(content("f"), "new");
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
    try {
        OutputFile("/dev/full").write(kNew);
        ADD_FAILURE();
    } catch (const Failure& failure) {
        EXPECT_STREQ(failure.what(), "cannot write /dev/full: No space left on device");
    }
}

TEST_F(FilesTest, InputIsReadWholeOrNotAtAll)
{
    put("f", "12345");
    EXPECT_EQ(readFile(folder / "f", 5), (std::vector<std::uint8_t>{'1', '2', '3', '4', '5'}));
    EXPECT_THROW(readFile(folder / "f", 4), Failure);
    EXPECT_THROW(readFile(folder / "none", 4), Failure);
    EXPECT_THROW(readFile(folder, 4), Failure);
    EXPECT_THROW(readFile("/dev/zero", 1000), Failure);
    EXPECT_TRUE(readFile("/dev/null", 0).empty());
}

} // namespace Tool
