#include "Inspection/records/outputs.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/internal/stagedfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::readText;
using Testing::ScratchDirectory;
using Testing::writeText;
namespace fs = std::filesystem;

std::set<std::string> namesIn(fs::path const& folder) {
    std::set<std::string> names;
    for (auto const& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

using Names = std::set<std::string>;

/// A run of one input that writes `text` to each of the targets.
void writeAll(fs::path const& input, std::vector<fs::path> const& targets, std::string const& text) {
    Record record("test");
    record.addInput(input);
    Outputs outputs(record);
    for (auto const& target : targets) {
        outputs.add(target);
    }
    for (auto const& target : targets) {
        writeText(outputs.at(target).file, text);
    }
    outputs.commit(nullptr);
}

TEST(Outputs, appearAllAtOnceWithTheirRecords) {
    ScratchDirectory const directory;
    writeText(directory / "in", "in");
    writeText(directory / "a", "old");
    Record const record("test");
    Outputs outputs(record);
    outputs.add(directory / "a");
    outputs.add(directory / "b");
    EXPECT_EQ(namesIn(directory.get()), (Names{"in", "a"}));
    EXPECT_TRUE(isNothingUnfinished());
    Destination const a = outputs.at(directory / "a");
    EXPECT_EQ(a.file, directory / "a.unfinished");
    EXPECT_EQ(a.name, directory / "a");
    writeText(a.file, "new");
    writeText(outputs.at(directory / "b").file, "new too");
    EXPECT_EQ(readText(directory / "a"), "old");
    EXPECT_FALSE(isNothingUnfinished());
    outputs.commit(nullptr);
    EXPECT_EQ(readText(directory / "a"), "new");
    EXPECT_EQ(readText(directory / "b"), "new too");
    EXPECT_EQ(namesIn(directory.get()), (Names{"in", "a", "a.json", "b", "b.json"}));
}

TEST(Outputs, leaveNothingWithoutACommit) {
    ScratchDirectory const directory;
    writeText(directory / "a", "old");
    {
        Record const record("test");
        Outputs outputs(record);
        outputs.makeFolders(directory / "new/folder");
        EXPECT_FALSE(isNothingUnfinished());
        outputs.add(directory / "a");
        outputs.add(directory / "new/folder/b");
        writeText(outputs.at(directory / "a").file, "new");
        writeText(outputs.at(directory / "new/folder/b").file, "new");
    }
    EXPECT_TRUE(isNothingUnfinished());
    EXPECT_EQ(readText(directory / "a"), "old");
    EXPECT_EQ(namesIn(directory.get()), Names{"a"});
}

TEST(Outputs, keepFoldersThatTheyMadeOrThatWereThere) {
    ScratchDirectory const directory;
    fs::create_directories(directory / "old");
    Record const record("test");
    {
        Outputs outputs(record);
        outputs.makeFolders(directory / "old");
        outputs.makeFolders(directory / "new/folder");
        outputs.add(directory / "new/folder/b");
        writeText(outputs.at(directory / "new/folder/b").file, "new");
        outputs.commit(nullptr);
    }
    EXPECT_EQ(readText(directory / "new/folder/b"), "new");
    Outputs(record).makeFolders(directory / "old");
    EXPECT_TRUE(fs::exists(directory / "old"));
}

TEST(Outputs, refuseInputsByWhateverName) {
    ScratchDirectory const directory;
    writeText(directory / "in", "in");
    fs::create_directories(directory / "sub");
    fs::create_symlink("in", directory / "link");
    fs::create_hard_link(directory / "in", directory / "twin");
    Record record("test");
    record.addInput(directory / "in");
    Outputs outputs(record);
    EXPECT_EQ(messageOf([&] { outputs.add(directory / "in"); }),
              (directory / "in").string() + ": is also the input");
    for (char const* const name : {"link", "twin", "./sub/../in", "sub/../link"}) {
        EXPECT_EQ(messageOf([&] { outputs.add(directory / name); }),
                  (directory / name).string() + ": is also the input " + (directory / "in").string());
    }
    EXPECT_EQ(readText(directory / "in"), "in");
}

TEST(Outputs, refuseToWriteAFileTwice) {
    ScratchDirectory const directory;
    fs::create_directories(directory / "sub");
    fs::create_symlink("out", directory / "link");
    Record const record("test");
    Outputs outputs(record);
    outputs.add(directory / "out");
    EXPECT_EQ(messageOf([&] { outputs.add(directory / "out"); }),
              (directory / "out").string() + ": is to be written twice");
    for (char const* const name : {"link", "sub/../out", "./out"}) {
        EXPECT_EQ(messageOf([&] { outputs.add(directory / name); }),
                  (directory / name).string() + ": is to be written twice, as " +
                      (directory / "out").string() + " too");
    }
    EXPECT_EQ(messageOf([&] { outputs.add(directory / "out.json"); }),
              (directory / "out.json").string() + ": is where the record of " + (directory / "out").string() +
                  " goes");
    Record withInput("test");
    writeText(directory / "a.json", "{}");
    withInput.addInput(directory / "a.json");
    Outputs others(withInput);
    EXPECT_EQ(messageOf([&] { others.add(directory / "a"); }),
              (directory / "a.json").string() + ": is also the input");
}

TEST(Outputs, doNotOverwriteAFileThatIsNoRecord) {
    ScratchDirectory const directory;
    writeText(directory / "in", "in");
    writeText(directory / "a.json", "{\"settings\": 1}");
    EXPECT_EQ(messageOf([&] { writeAll(directory / "in", {directory / "a"}, "x"); }),
              (directory / "a.json").string() + ": is no record, and that of " + (directory / "a").string() +
                  " goes there; move it or name another output");
    EXPECT_EQ(readText(directory / "a.json"), "{\"settings\": 1}");
    fs::remove(directory / "a.json");
    writeAll(directory / "in", {directory / "a"}, "x");
    writeAll(directory / "in", {directory / "a"}, "y");
    EXPECT_EQ(readText(directory / "a"), "y");
}

TEST(Outputs, replaceWhatALinkLeadsToAndKeepTheLink) {
    ScratchDirectory const directory;
    writeText(directory / "in", "in");
    fs::create_directories(directory / "far");
    writeText(directory / "far/file", "old");
    fs::create_symlink("far/file", directory / "link");
    fs::create_symlink("far/none", directory / "loose");
    writeAll(directory / "in", {directory / "link", directory / "loose"}, "new");
    EXPECT_TRUE(fs::is_symlink(directory / "link"));
    EXPECT_TRUE(fs::is_symlink(directory / "loose"));
    EXPECT_EQ(readText(directory / "far/file"), "new");
    EXPECT_EQ(readText(directory / "far/none"), "new");
    EXPECT_EQ(namesIn(directory / "far"), (Names{"file", "none"}));
}

TEST(Outputs, goToDevicesAndPipesDirectlyAndWithoutARecord) {
    ScratchDirectory const directory;
    Record const record("test");
    Outputs outputs(record);
    ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/null", directory / "null");
    for (char const* const name : {"pipe", "null"}) {
        outputs.add(directory / name);
    }
    outputs.add("/dev/null");
    std::string got;
    std::thread reader([&] { got = readText(directory / "pipe"); });
    writeText(outputs.at(directory / "pipe").file, "through");
    reader.join();
    writeText(outputs.at(directory / "null").file, "away");
    outputs.commit(nullptr);
    EXPECT_EQ(got, "through");
    EXPECT_TRUE(fs::is_symlink(directory / "null"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_EQ(namesIn(directory.get()), (Names{"pipe", "null"}));
    EXPECT_FALSE(fs::exists("/dev/null.json"));
}

TEST(Outputs, keepPermissionsAndGiveNewFilesTheUsualOnes) {
    ScratchDirectory const directory;
    writeText(directory / "in", "in");
    writeText(directory / "a", "old");
    for (mode_t const mode : {0600U, 0640U, 0666U, 0755U}) {
        ASSERT_EQ(chmod((directory / "a").c_str(), mode), 0);
        writeAll(directory / "in", {directory / "a"}, "new");

        struct stat status {};

        ASSERT_EQ(stat((directory / "a").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, mode);
    }
    mode_t const before = umask(027);
    writeAll(directory / "in", {directory / "b"}, "new");
    umask(before);

    struct stat status {};

    ASSERT_EQ(stat((directory / "b").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST(Outputs, tellWhatCannotBeWritten) {
    ScratchDirectory const directory;
    writeText(directory / "in", "in");
    Record record("test");
    record.addInput(directory / "in");
    Outputs outputs(record);
    EXPECT_EQ(messageOf([&] { outputs.add(directory / "none/a"); }),
              (directory / "none/a").string() + ": cannot be written (No such file or directory)");
    EXPECT_EQ(messageOf([&] { outputs.add(directory.get()); }),
              directory.get().string() + ": cannot be written (Is a directory)");
    std::string const longName(300, 'x');
    EXPECT_EQ(messageOf([&] { outputs.add(directory / longName); }),
              (directory / longName).string() + ": cannot be written (File name too long)");
    // Its record would have too long a name.
    std::string const barelyShort(253, 'x');
    EXPECT_EQ(messageOf([&] { outputs.add(directory / barelyShort); }),
              (directory / (barelyShort + ".json")).string() + ": cannot be written (File name too long)");
    std::string const fits(250, 'x');
    outputs.add(directory / fits);
    writeText(outputs.at(directory / fits).file, "x");
    outputs.commit(nullptr);
    EXPECT_EQ(namesIn(directory.get()), (Names{"in", fits, fits + ".json"}));
}

/// Stops the work at its first call.
class StoppingListener : public ProgressListener {
public:
    void setMessage(char const*) override { throw Interrupted(); }

    void setPercentage(unsigned long) override { throw Interrupted(); }

    void reserved3() override {}

    void reserved4() override {}
};

TEST(Outputs, areStoppedByTheListenerBeforeAnythingChanges) {
    ScratchDirectory const directory;
    writeText(directory / "a", "old");
    Record const record("test");
    {
        Outputs outputs(record);
        outputs.add(directory / "a");
        writeText(outputs.at(directory / "a").file, "new");
        StoppingListener listener;
        EXPECT_THROW(outputs.commit(&listener), Interrupted);
    }
    EXPECT_EQ(readText(directory / "a"), "old");
    EXPECT_EQ(namesIn(directory.get()), Names{"a"});
}

TEST(Interrupted, passesNaming) {
    EXPECT_THROW(naming("file", []() -> void { throw Interrupted(); }), Interrupted);
}

/// Runs `action` in a process that then kills itself.
template <class Action>
void runAndKill(Action action) {
    pid_t const child = fork();
    if (child == 0) {
        action();
        raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
}

TEST(Outputs, ofAKilledRunLeaveWhatWasThereAndTheNextRunCleansUp) {
    ScratchDirectory const directory;
    writeText(directory / "in", "in");
    writeText(directory / "a", "old");
    runAndKill([&] {
        Record const record("test");
        Outputs outputs(record);
        outputs.add(directory / "a");
        writeText(outputs.at(directory / "a").file, "half");
        raise(SIGKILL);
    });
    EXPECT_EQ(readText(directory / "a"), "old");
    EXPECT_EQ(namesIn(directory.get()), (Names{"in", "a", "a.unfinished"}));
    writeAll(directory / "in", {directory / "a"}, "new");
    EXPECT_EQ(readText(directory / "a"), "new");
    EXPECT_EQ(namesIn(directory.get()), (Names{"in", "a", "a.json"}));
}

TEST(StagedFile, leavesAloneWhatAnotherRunIsWriting) {
    ScratchDirectory const directory;
    StagedFile first(directory / "a");
    StagedFile const second(directory / "a");
    EXPECT_EQ(first.getPath(), directory / "a.unfinished");
    EXPECT_EQ(second.getPath(), directory / "a.unfinished2");
    writeText(first.getPath(), "first");
    first.putInPlace();
    EXPECT_EQ(readText(directory / "a"), "first");
    StagedFile const third(directory / "a");
    EXPECT_EQ(third.getPath(), directory / "a.unfinished");
    EXPECT_TRUE(fs::exists(second.getPath()));
}

TEST(StagedFile, doesNotFollowALinkOfItsName) {
    ScratchDirectory const directory;
    writeText(directory / "other", "kept");
    fs::create_symlink("other", directory / "a.unfinished");
    StagedFile const file(directory / "a");
    EXPECT_EQ(file.getPath(), directory / "a.unfinished2");
    EXPECT_EQ(readText(directory / "other"), "kept");
    EXPECT_TRUE(fs::is_symlink(directory / "a.unfinished"));
}

} // namespace
} // namespace QELT::Inspection
