// SPDX-License-Identifier: Apache-2.0
// The set's folder: how it is made, what is read back of it, who has it, and how it is repaired.
#include <algorithm>
#include <csignal>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "hw3/hw_flash.h"
#include "support/descriptors.h"
#include "support/middleware_calls.h"
#include "support/process.h"
#include "support/refusals.h"
#include "support/waiting.h"

namespace {

namespace fs = std::filesystem;
using test::errorOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

// Returns the set.json of a new set with this much of it replaced.
std::string config(const nlohmann::ordered_json& changes = {}) {
    auto json = nlohmann::ordered_json::parse(R"({
        "format": 1, "boots": 0, "customer_hash": "4c554d4f52412d565345542d30303031",
        "data_index_path": "/vendor/factory/config/dataindex.ini",
        "partitions": {"factory": 4194304, "misc": 1048576, "persist": 8388608},
        "watchdog_rebooted": false, "clock_offset": 0,
        "interfaces": [{"name": "lo", "mac": "00:00:00:00:00:00", "up": true, "dhcp": true},
                       {"name": "eth0", "mac": "00:4C:55:4D:00:01", "up": true, "dhcp": true}],
        "calibration": {}})");
    for (const auto& [strKey, value] : changes.items()) {
        json[strKey] = value;
    }
    return json.dump(2) + "\n";
}

// Returns all that lies in a folder, folders with a slash at their end.
std::vector<std::string> listing(const std::string& strFolder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(strFolder)) {
        names.push_back(entry.path().string().substr(strFolder.size() + 1) + (entry.is_directory() ? "/" : ""));
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Counts the descriptors of this process that lead to a file.
int descriptorsOf(const std::string& strFile) {
    int s32Count = 0;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        s32Count += fs::read_symlink(entry.path(), error) == strFile ? 1 : 0;
    }
    return s32Count;
}

bool hasMode(const std::string& strFile, mode_t mode) {
    struct stat stStat = {};
    return stat(strFile.c_str(), &stStat) == 0 && (stStat.st_mode & 07777) == mode;
}

class VsetFolder : public test::RunningTest {
protected:
    void SetUp() override {
        RunningTest::SetUp();
        vset::detach();
    }
    std::string file(const std::string& strName) const { return folder() + "/" + strName; }
    // Takes the set for as long as it takes to read its files, and returns what is said meanwhile.
    std::string said() const {
        testing::internal::CaptureStderr();
        vset::attach(folder());
        vset::detach();
        return testing::internal::GetCapturedStderr();
    }
};

TEST_F(VsetFolder, ANewSetHasItsDefaults) {
    const mode_t before = umask(022);
    vset::create(file("new/set"));
    { const vset::Hold lock(file("new/set")); }
    umask(before);
    EXPECT_EQ(test::readFile(file("new/set/set.json")), config());
    using namespace std::string_literals;
    EXPECT_THAT(
        test::readFile(file("new/set/env/emmc.img")).substr(4),
        StartsWith("bootcmd=mmc read 0x20000000 boot; bootm 0x20000000\0bootdelay=0\0factory_poweron_mode=direct\0"
                   "model=LM-VSET\0panel=FHD_LVDS\0serial=VSET00000001\0\0"s));
    const std::string strConfig = "tree/vendor/factory/config/", strTool = "tree/vendor/factory/bin/factory_svc";
    EXPECT_THAT(
        listing(file("new/set")),
        ElementsAre("env/", "env/emmc.img", "lock", "partitions/", "set.json", "tree/", "tree/data/",
                    "tree/data/vendor/", "tree/dev/", "tree/mnt/", "tree/mnt/usb/", "tree/sys/", "tree/sys/kernel/",
                    "tree/sys/kernel/uart/", "tree/vendor/", "tree/vendor/factory/", "tree/vendor/factory/bin/",
                    strTool, strConfig, strConfig + "board.ini", strConfig + "dataindex.ini", strConfig + "ir.ini"));
    for (const std::string& strName :
         {std::string("set.json"), std::string("lock"), std::string("env/emmc.img"), strTool}) {
        EXPECT_TRUE(hasMode(file("new/set/" + strName), 0644)) << strName;
    }
}

TEST_F(VsetFolder, WhatIsRightOfTheFileIsReadAndKept) {
    nlohmann::ordered_json changed = {
        {"boots", 7},
        {"customer_hash", "0123456789abcdef0f1e2d3c4b5a6978"},
        {"data_index_path", "/data/index.ini"},
        {"partitions", {{"big", 4294967296u}, {"none", 0}}},
        {"watchdog_rebooted", true},
        {"clock_offset", -86400},
        {"interfaces", {{{"name", "a name of 16 byt"}, {"mac", "01:23:45:67:89:EF"}, {"up", false}, {"dhcp", true}}}},
        {"calibration",
         {{"scart999", {{"phase", {1, 2, 3}}, {"gain", {4, 5, 6}}, {"offset", {7, 8, 4294967295u}}}},
          {"vga0", {{"phase", {9, 8, 7}}, {"gain", {6, 5, 4}}, {"offset", {3, 2, 1}}}}}}};
    test::writeFile(file("set.json"), config(changed));
    EXPECT_EQ(said(), "");
    changed["boots"] = 8;
    EXPECT_EQ(test::readFile(file("set.json")), config(changed)) << "nothing but the boot has changed it";
    test::writeFile(file("set.json"), R"({"boots": "1", "customer_hash": "0123", "data_index_path": 2, "partitions": [],
        "watchdog_rebooted": 1, "clock_offset": 1.5, "interfaces": {}, "calibration": 3, "format": 1, "customer_hash":
        "0123456789ABCDEF0f1e2d3c4b5a697g"})");
    EXPECT_THAT(said(), StartsWith("virtual set: " + file("set.json: \"boots\" is not a count\nvirtual set: ")));
    EXPECT_EQ(test::readFile(file("set.json")), config({{"boots", 1}})) << "a bad entry has its default";
    test::writeFile(file("set.json"), R"({"customer_hash": "0123456789ABCDEF0F1E2D3C4B5A6978", "clock_offset": 5})");
    EXPECT_EQ(said(), "") << "capitals, and what is missing";
    EXPECT_EQ(test::readFile(file("set.json")),
              config({{"boots", 1}, {"customer_hash", changed["customer_hash"]}, {"clock_offset", 5}}));
}

TEST_F(VsetFolder, IsReplacedAsAWholeAndKeepsItsPermissions) {
    chmod(file("set.json").c_str(), 0604);
    test::writeFile(file("set.json.new"), std::string(10000, 'x'));
    EXPECT_EQ(said(), "");
    EXPECT_TRUE(hasMode(file("set.json"), 0604));
    EXPECT_EQ(test::readFile(file("set.json")), config({{"boots", 2}}));
    // A change of a partition's size that was cut off: sizes of the file and of the next one, and what is there then.
    const std::string kMisc(1048576, 'm');
    const struct {
        std::string strFile, strResized;
        char cAfter;
    } kRows[] = {{"short", kMisc, 'm'}, {std::string(1048576, 'f'), kMisc, 'f'}, {std::string(1048576, 'f'), "r", 'f'}};
    for (const auto& stRow : kRows) {
        test::writeFile(file("partitions/misc.img"), stRow.strFile);
        test::writeFile(file("partitions/misc.img.resized"), stRow.strResized);
        EXPECT_EQ(said(), "");
        EXPECT_TRUE(test::readFile(file("partitions/misc.img")) == std::string(1048576, stRow.cAfter));
        EXPECT_THAT(listing(file("partitions")), ElementsAre("misc.img"));
    }
}

TEST_F(VsetFolder, IsMadeInAnEmptyOneOrWhereTheMakingWasCutOff) {
    const struct {
        std::vector<std::string> files;  // folders with a slash at their end
        std::string strError;            // %: the folder
        bool bStays;
    } kRows[] = {
        {{}, "no error", false},
        {{"env/", "set.json.new", "tree/", "tree/x"}, "no error", false},
        {{"env/", "env/x"}, "%: is neither a set nor empty", true},
        {{"photos/", "set.json.new"}, "%: is neither a set nor empty", true},
        {{"env/", "set.json.new/"}, "%: no set could be made: %/set.json.new: Is a directory", false},
    };
    for (const auto& stRow : kRows) {
        const std::string strFolder = file("made");
        fs::create_directory(strFolder);
        for (const std::string& strName : stRow.files) {
            strName.back() == '/' ? static_cast<void>(fs::create_directory(strFolder + "/" + strName))
                                  : test::writeFile(strFolder + "/" + strName, "");
        }
        std::string strError = stRow.strError;
        for (std::size_t at = 0; (at = strError.find('%')) != std::string::npos;) {
            strError.replace(at, 1, strFolder);
        }
        SCOPED_TRACE(strError);
        const int s32Descriptors = test::openDescriptors();
        EXPECT_EQ(errorOf([&] { vset::create(strFolder); }), strError);
        EXPECT_EQ(test::openDescriptors(), s32Descriptors);
        if (strError == "no error") {
            EXPECT_THAT(vset::check(strFolder), testing::IsEmpty());
            EXPECT_FALSE(fs::exists(strFolder + "/tree/x/"));
        } else {
            EXPECT_EQ(listing(strFolder), stRow.bStays ? stRow.files : std::vector<std::string>());
        }
        fs::remove_all(strFolder);
    }
    EXPECT_THAT(errorOf([&] { vset::create(file("set.json/a")); }), HasSubstr(file("set.json/a: Not a directory")));
    const fs::path before = fs::current_path();
    fs::current_path(folder());
    vset::create("relative/set");
    EXPECT_EQ(errorOf([] { vset::create("relative/set"); }), "relative/set: is a set already");
    vset::attach("relative//x/../set/");
    EXPECT_EQ(vset::folder(), file("relative/set"));
    fs::current_path(before);
}

TEST_F(VsetFolder, NothingIsLeftOfOneThatCannotBeMade) {
    SKIP_UNDER_EMULATION();
    const int s32Exit = test::runInChild([&] {
        const rlimit stLimit = {4096, 4096};
        std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &stLimit);
        // What is there before, and is there afterwards.
        for (const char* pszThere : {"p/", "p/q/", "p/q/r/"}) {
            const std::string strFolder = file("p/q/r");
            EXPECT_THAT(errorOf([&] { vset::create(strFolder); }), HasSubstr("emmc.img.new: File too large"));
            EXPECT_FALSE(fs::exists(file("p"))) << "no folder was there";
            fs::create_directories(file(pszThere));
            const std::vector<std::string> before = listing(folder());
            EXPECT_NE(errorOf([&] { vset::create(strFolder); }), "no error");
            EXPECT_EQ(listing(folder()), before);
            fs::remove_all(file("p"));
        }
        vset::attach(folder());
        HW_SYS_Init(nullptr);
        test::init(HW_FLASH_Init);
        static HW_U8 au8Image[HW_FLASH_ENV_IMAGE_SIZE];
        EXPECT_NE(HW_FLASH_StoreEnv(test::handleOf(HW_FLASH_Open, {E_HW_FLASH_TYPE_EMMC, {}}), au8Image), HW_OK);
        EXPECT_THAT(listing(file("env")), ElementsAre("emmc.img")) << "nor of a file";
        vset::detach();
        const rlimit stFew = {256, 256};
        setrlimit(RLIMIT_NOFILE, &stFew);
        EXPECT_EQ(errorOf([&] { vset::attach(folder()); }), "no error") << "not that many descriptors";
        EXPECT_NE(errorOf([&] { vset::Hold{folder()}; }), "no error");
        vset::detach();
        const rlimit stNone = {0, 4096};
        setrlimit(RLIMIT_FSIZE, &stNone);
        const int s32Descriptors = test::openDescriptors();
        EXPECT_EQ(errorOf([&] { vset::attach(folder()); }), file("lock: File too large"));
        EXPECT_EQ(test::openDescriptors(), s32Descriptors);
        _exit(HasFailure() ? 1 : 0);
    });
    EXPECT_EQ(s32Exit, 0);
}

TEST_F(VsetFolder, IsMadeByOneProcessAtATime) {
    const std::string strFolder = file("shared");
    vset::create(file("ready"));
    fs::create_directory(strFolder);
    const int s32Other = open(strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(s32Other, LOCK_EX), 0);
    std::string strError;
    std::thread maker([&] { strError = errorOf([&] { vset::create(strFolder); }); });
    EXPECT_TRUE(test::eventually([&] { return descriptorsOf(strFolder) == 2; }));
    fs::copy(file("ready"), strFolder, fs::copy_options::recursive);
    test::writeFile(strFolder + "/tree/data/used", "");
    close(s32Other);
    maker.join();
    EXPECT_EQ(strError, strFolder + ": is a set already");
    EXPECT_TRUE(fs::exists(strFolder + "/tree/data/used"));
}

TEST_F(VsetFolder, ItsLockNamesItsProcess) {
    const std::string strLock = file("lock");
    const int s32Descriptors = test::openDescriptors();
    for (const std::string& strOwner : {std::string("123456789012345"), std::string("1"), std::string()}) {
        test::writeFile(strLock, strOwner.empty() ? "" : strOwner + (strOwner.size() > 1 ? "6789" : ""));
        const int s32Other = open(strLock.c_str(), O_RDWR | O_CLOEXEC);
        ASSERT_EQ(flock(s32Other, LOCK_EX), 0);
        const std::string strInUse = folder() + ": in use by process " + (strOwner.empty() ? "(unknown)" : strOwner);
        EXPECT_EQ(errorOf([&] { vset::attach(folder()); }), strInUse);
        EXPECT_EQ(errorOf([&] { vset::Hold{folder()}; }), strInUse);
        close(s32Other);
    }
    EXPECT_EQ(test::openDescriptors(), s32Descriptors);
    test::writeFile(strLock, "a longer text than any process has");
    vset::attach(folder());
    EXPECT_EQ(test::readFile(strLock), std::to_string(getpid()));
    for (int s32Fd = 0; s32Fd < 512; ++s32Fd) {
        std::error_code error;
        EXPECT_NE(fs::read_symlink("/proc/self/fd/" + std::to_string(s32Fd), error), strLock) << "out of the way";
    }
    vset::detach();
    test::writeFile(file("set.json"), "rubbish");
    EXPECT_NE(errorOf([&] { vset::attach(folder()); }), "no error");
    EXPECT_EQ(vset::hostPath("/data/x"), "");
    EXPECT_EQ(errorOf([&] { vset::Hold{folder()}; }), "no error") << "it is let go";
    test::writeFile(file("other/set.json/x"), "");
    EXPECT_EQ(errorOf([&] { vset::attach(file("other")); }), file("other/set.json: Is a directory"));
    fs::remove(strLock);
    fs::create_directory(strLock);
    EXPECT_EQ(errorOf([&] { vset::Hold{folder()}; }), strLock + ": Is a directory");
}

// Another process lets go of the lock while this one waits for it, or its folder is replaced.
TEST_F(VsetFolder, ItsLockIsWaitedForAndIsTheOneThatIsThere) {
    const std::string strLock = file("lock");
    const std::function<void()> kGivesWay[] = {[] { std::this_thread::sleep_for(std::chrono::milliseconds(25)); },
                                               [&] { fs::rename(strLock, strLock + ".old"); },
                                               [&] {
                                                   fs::rename(strLock, strLock + ".old");
                                                   test::writeFile(strLock, "");
                                               },
                                               [&] { fs::remove(strLock); }};
    const int s32Descriptors = test::openDescriptors();
    for (const std::function<void()>& giveWay : kGivesWay) {
        std::string strError;
        // The wait is short, and this PC may be slow.
        for (int i = 0; i < 20 && strError != "no error"; ++i) {
            const int s32Other = open(strLock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
            ASSERT_EQ(flock(s32Other, LOCK_EX), 0);
            std::thread other([&] {
                test::eventually([&] { return descriptorsOf(strLock) == 2; }, std::chrono::milliseconds(50));
                giveWay();
                close(s32Other);
            });
            strError = errorOf([&] { vset::attach(folder()); });
            other.join();
        }
        EXPECT_EQ(strError, "no error");
        EXPECT_EQ(test::readFile(strLock), std::to_string(getpid()));
        EXPECT_NE(errorOf([&] { vset::Hold{folder()}; }), "no error") << "it is locked";
        EXPECT_EQ(descriptorsOf(strLock), 1);
        vset::detach();
        EXPECT_EQ(test::openDescriptors(), s32Descriptors);
    }
}

TEST_F(VsetFolder, TheDefaultIsNamedByTheEnvironment) {
    using Value = std::optional<std::string>;
    const struct {
        Value set, state, home;
        const char* pszFolder;
    } kRows[] = {
        {"/a", "/b", "/c", "/a"},
        {"", "/b", "/c", "/b/vset"},
        {std::nullopt, "", "/c", "/c/.local/state/vset"},
        {std::nullopt, std::nullopt, std::nullopt, "/.local/state/vset"},
    };
    const auto put = [](const char* pszName, const Value& value) {
        value ? setenv(pszName, value->c_str(), 1) : unsetenv(pszName);
    };
    for (const auto& stRow : kRows) {
        put("VSET_DIR", stRow.set);
        put("XDG_STATE_HOME", stRow.state);
        put("HOME", stRow.home);
        EXPECT_EQ(vset::defaultFolder(), stRow.pszFolder);
    }
}

TEST(VsetDefaultFolder, IsSwitchedOnByTheFirstCall) {
    SKIP_UNDER_EMULATION();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // Calls twice in a process that has chosen no set. Returns the exit code for what happens.
    const auto call = [](const char* pszJson) {
        std::string strFolder = testing::TempDir() + "/vset-XXXXXX";
        setenv("VSET_DIR", mkdtemp(strFolder.data()), 1);
        if (pszJson != nullptr) {
            test::writeFile(strFolder + "/set.json", pszJson);
        }
        const HW_Result_t first = HW_SYS_Init(nullptr), second = HW_SYS_Init(nullptr);
        const bool bOn = fs::equivalent(vset::folder().empty() ? "/" : vset::folder(), strFolder);
        fs::remove_all(strFolder);
        std::exit(first == HW_OK && second == HW_HAS_INITED && bOn                              ? 10
                  : first == HW_ERR_FAILED && second == HW_ERR_FAILED && vset::folder().empty() ? 11
                                                                                                : 12);
    };
    EXPECT_EXIT(call(nullptr), testing::ExitedWithCode(10), "^$");
    EXPECT_EXIT(call("rubbish"), testing::ExitedWithCode(11), "^virtual set: [^\n]*/set.json: is not a JSON object\n$");
}

// --- Repairs ---------------------------------------------------------------------------------------------------------

TEST_F(VsetFolder, EachDamageHasItsRemedy) {
    const std::string strEnvironment = test::readFile(file("env/emmc.img"));
    const std::string strBlank(65536, '\xFF'), strDefaults = "what is right of it, and defaults";
    const struct {
        std::string strFile;
        std::optional<std::string> damage;  // what is there; nothing is
        std::string strProblem, strRemedy, strAfter;
    } kRows[] = {
        {"set.json", R"({"boots": 5, "format": 2})", "set.json: \"format\" is not 1", strDefaults,
         config({{"boots", 5}})},
        {"set.json", "[]", "set.json: is not a JSON object", strDefaults, config()},
        {"set.json", std::nullopt, "set.json: is missing", strDefaults, config()},
        {"env/spi_nor.img", "x", "env/spi_nor.img: has 1 bytes instead of 65536", "erased flash", strBlank},
        {"env/nand.img", std::string(65536, 'x'), "env/nand.img: wrong checksum", "erased flash", strBlank},
        {"env/emmc.img", "", "env/emmc.img: has 0 bytes", "the environment of a new set", strEnvironment},
        {"partitions/misc.img", "ab", "partitions/misc.img: has 2 bytes instead of 1048576",
         "its bytes, cut or filled up with 0xFF to 1048576", "ab" + std::string(1048574, '\xFF')},
        {"partitions/misc.img", std::string(1048577, 'x'), "partitions/misc.img: has 1048577 bytes",
         "its bytes, cut or filled up with 0xFF to 1048576", std::string(1048576, 'x')},
        {"env", std::nullopt, "env: is missing", "an empty folder", ""},
        {"partitions", std::nullopt, "partitions: is missing", "an empty folder", ""},
        {"tree", std::nullopt, "tree: is missing", "the files of a new set", ""},
    };
    EXPECT_THAT(vset::repairs(folder()), testing::IsEmpty());
    for (const auto& stRow : kRows) {
        SCOPED_TRACE(stRow.strProblem);
        fs::remove_all(file(stRow.strFile));
        if (stRow.damage) {
            test::writeFile(file(stRow.strFile), *stRow.damage);
        }
        const std::vector<vset::Repair> repairs = vset::repairs(folder());
        ASSERT_EQ(repairs.size(), 1u);
        EXPECT_EQ(repairs[0].strFile, stRow.strFile);
        EXPECT_THAT(repairs[0].damage, ElementsAre(StartsWith(folder() + "/" + stRow.strProblem)));
        EXPECT_EQ(repairs[0].strRemedy, stRow.strRemedy);
        repairs[0].mend();
        EXPECT_THAT(vset::check(folder()), testing::IsEmpty());
        EXPECT_TRUE(fs::is_directory(file(stRow.strFile)) || test::readFile(file(stRow.strFile)) == stRow.strAfter);
    }
    vset::create(file("new"));
    EXPECT_EQ(listing(file("tree")), listing(file("new/tree")));
    fs::create_directories(file("other/tree"));
    EXPECT_EQ(errorOf([&] { vset::repairs(file("other")); }), file("other: is no set"));
    for (const char* pszPart : {"other/env", "other/partitions"}) {
        fs::create_directory(file(pszPart));
        EXPECT_EQ(vset::repairs(file("other")).size(), 2u) << "set.json and one folder";
        fs::remove(file(pszPart));
    }
}

TEST_F(VsetFolder, FilesShowThePartitionsWhoseListIsLost) {
    const std::pair<const char*, std::uintmax_t> kFiles[] = {{"extra.img", 5},        {"full.img", 4294967296},
                                                             {"big.img", 4294967297}, {".hidden.img", 3},
                                                             {"notes.txt", 3},        {"misc.img", 7}};
    for (const auto& [pszName, size] : kFiles) {
        test::writeFile(file("partitions/") + pszName, "");
        fs::resize_file(file("partitions/") + pszName, size);
    }
    fs::create_directory(file("partitions/folder.img"));
    fs::remove(file("set.json"));
    const std::vector<vset::Repair> repairs = vset::repairs(folder());
    ASSERT_EQ(repairs.size(), 1u);
    repairs[0].mend();
    EXPECT_EQ(
        test::readFile(file("set.json")),
        config({{"partitions",
                 {{"extra", 5}, {"factory", 4194304}, {"full", 4294967296}, {"misc", 7}, {"persist", 8388608}}}}));
}

}  // namespace
