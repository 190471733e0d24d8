// SPDX-License-Identifier: Apache-2.0
// The bench tool at boot environments and whole sets: writes in one piece, what is damaged, backups.
#include <filesystem>

#include <archive.h>
#include <archive_entry.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "actions/sums.h"
#include "base/env_text.h"
#include "protocol/sha256.h"
#include "support/hub_client.h"
#include "support/tool_fixture.h"
#include "vset/vset.h"

namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;

class ServiceCli : public test::ToolTest {
protected:
    void SetUp() override {
        ToolTest::SetUp();
        ASSERT_EQ(fapi({"set", "create"}).s32Exit, 0);
    }

    std::string image() const { return set() + "/env/emmc.img"; }

    // Answers standard output; the command must succeed.
    std::string done(std::vector<std::string> words) const {
        words.insert(words.begin(), "-y");
        const test::ProcessResult result = fapi(words);
        EXPECT_EQ(result.s32Exit, 0) << words[2] << ": " << result.strError;
        return result.strOutput;
    }

    // Every file of a set with its bytes, but for what belongs to the process that has it.
    static std::map<std::string, std::string> filesOf(const std::string& strFolder) {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(strFolder)) {
            if (entry.is_regular_file() && entry.path().filename() != "lock") {
                files[entry.path().lexically_relative(strFolder)] = readFile(entry.path());
            }
        }
        return files;
    }
};

TEST_F(ServiceCli, SeveralVariablesAreOneWriteThatCanBeTakenBack) {
    const std::string strBefore = readFile(image());
    fs::create_hard_link(image(), folder() + "/old");
    EXPECT_EQ(done({"env", "set", "bootdelay=3", "a=x=y", "line=1\n2", std::string("raw=\x1b\xff")}),
              "~ bootdelay: 0 -> 3\n+ a=x=y\n+ line=1\\n2\n+ raw=\\x1b\\xff\nemmc: 4 variables changed\n");
    EXPECT_EQ(readFile(set() + "/env/kept/emmc-00000001.img"), strBefore) << "one image before: one write";
    EXPECT_EQ(readFile(folder() + "/old"), strBefore) << "the image is replaced: a kill leaves the old or the new one";
    const std::string strAfter = readFile(image());
    EXPECT_EQ(fapi({"env", "diff", "--previous"}).s32Exit, 1);

    done({"env", "rollback"});
    EXPECT_EQ(readFile(image()), strBefore);
    done({"env", "rollback"});
    EXPECT_EQ(readFile(image()), strAfter) << "a rollback is taken back like any other write";
    done({"env", "unset", "a", "line"});
    done({"env", "rollback", "2"});
    EXPECT_EQ(readFile(image()), strBefore);

    done({"env", "set", "bootdelay=0"});
    EXPECT_EQ(readFile(image()), strBefore) << "nothing has changed";
    // Nothing of a command that is refused is written.
    const test::Impossible rows[] = {
        {{"-y", "env", "set", "good=1", "=bad"}, 2, "the name of a variable is missing"},
        {{"-y", "env", "set", "good=1", "bad"}, 2, "expected NAME=VALUE"},
        {{"-y", "env", "set", "good=1", "huge=" + std::string(65500, 'x')}, 2, "no room for huge"},
        {{"-y", "env", "unset", "serial", "nobody"}, 1, "has no variable nobody"},
        {{"-y", "env", "rollback", "99"}, 1, "other images are kept"},
    };
    for (const auto& row : rows) {
        expectImpossible(row);
        EXPECT_EQ(readFile(image()), strBefore);
    }
    vset::attach(set());
    EXPECT_EQ(fapi({"env", "get", "serial"}).strOutput, "serial=VSET00000001\n");
    EXPECT_THAT(fapi({"-y", "env", "set", "a=1"}).strError, HasSubstr("in use by process"));
    vset::detach();
    EXPECT_EQ(readFile(image()), strBefore);
}

TEST_F(ServiceCli, WhatChangesASetAsAWholeWantsItAlone) {
    const std::string strBackup = folder() + "/set.tar.gz";
    done({"set", "backup", strBackup});
    writeFile("set/env/nand.img", "rubbish");
    const auto files = filesOf(set());
    const auto other = test::joinHub(set());
    for (const std::vector<std::string>& words : {std::vector<std::string>{"env", "set", "a=1"},
                                                  {"set", "backup", strBackup},
                                                  {"set", "restore", strBackup},
                                                  {"set", "repair"}}) {
        expectImpossible({words, 3, set() + ": in use by process " + std::to_string(getpid()) + "\n"});
    }
    EXPECT_EQ(filesOf(set()), files);
    EXPECT_EQ(done({"env", "get", "serial"}), "serial=VSET00000001\n") << "anybody may look";
}

TEST_F(ServiceCli, WhatIsExportedIsImportedByteForByte) {
    std::string strValue;
    for (int byte = 1; byte < 256; ++byte) {
        strValue += static_cast<char>(byte);
    }
    const std::string strFile = folder() + "/env.txt";
    done({"env", "set", "all=" + strValue, "umlaut=\u00fc\u009b", "#comment= blank ", "back\\slash=\\x41", "empty="});
    done({"env", "export", strFile});
    EXPECT_THAT(readFile(strFile), HasSubstr("umlaut=\u00fc\\xc2\\x9b\n")) << "readable, but nothing a terminal obeys";
    done({"env", "--flash", "nand", "set", "other=1"});
    done({"env", "--flash", "nand", "import", strFile});
    EXPECT_EQ(fapi({"env", "--flash", "nand", "diff", strFile}).strOutput, "+ other=1\n");
    done({"env", "--flash", "nand", "import", "--replace", strFile});
    EXPECT_EQ(tool::parseEnvImage(readFile(set() + "/env/nand.img")).variables,
              tool::parseEnvImage(readFile(image())).variables);
    EXPECT_EQ(*tool::findVariable(tool::parseEnvImage(readFile(image())).variables, "all"), strValue);
    for (const char* pszBad : {"a=1\na=2\n", "a=1\nnothing\n", "a=1\nb=\\q\n", "a=1\nb=\\x00\n", "a=1\n=2\n"}) {
        expectImpossible({{"-y", "env", "import", writeFile("bad.txt", pszBad)}, 2, "bad.txt:2: "});
    }
}

TEST_F(ServiceCli, BootLoaderToolsAndTheBenchReadEachOther) {
    if (std::system("command -v fw_printenv >/dev/null") != 0) {
        GTEST_SKIP() << "libubootenv-tool is not installed";
    }
    const std::string strConfig = writeFile("fw_env.config", image() + " 0x0 0x10000\n");
    done({"env", "set", "serial=LM55 000815=x", "two=1"});
    EXPECT_EQ(test::runProcess({"fw_printenv", "-c", strConfig, "serial", "two"}).strOutput,
              "serial=LM55 000815=x\ntwo=1\n");
    EXPECT_EQ(test::runProcess({"fw_setenv", "-c", strConfig, "serial", "from outside"}).s32Exit, 0);
    EXPECT_EQ(done({"env", "get", "serial", "two"}), "serial=from outside\ntwo=1\n");
}

TEST_F(ServiceCli, OfADamagedImageIsShownWhatCanBeRead) {
    const std::string strExport = folder() + "/env.txt";
    done({"env", "set", "last=1"});
    done({"env", "export", strExport});
    const std::string strGood = readFile(image());
    std::string strFlipped = strGood;
    strFlipped[strGood.find("model")] = '\x01';
    std::string strTorn = strGood;
    strTorn.replace(strGood.find("serial"), 10, 10, '\0');
    const struct {
        std::string strImage;
        const char* pszDamage;
        const char* pszRead;  // what must still be read
        const char* pszNot;   // and what must not
    } rows[] = {
        {strFlipped, "wrong checksum", "? last=1\n", "odel="},
        {strTorn, "wrong checksum", "? last=1\n", "? serial="},
        {strGood.substr(0, 80), "has 80 bytes instead of 65536", "? bootdelay=0\n", "model"},
        {strGood + "x", "has more than 65536 bytes", "? model=LM-VSET\n", "? x"},
        {"", "has 0 bytes instead of 65536", "", "="},
        {std::string(65536, 'x'), "wrong checksum", "", "="},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pszDamage);
        writeFile("set/env/emmc.img", row.strImage);
        const test::ProcessResult listed = fapi({"env", "list"});
        EXPECT_EQ(listed.s32Exit, 3);
        EXPECT_THAT(listed.strError, HasSubstr(row.pszDamage));
        EXPECT_THAT(listed.strOutput, HasSubstr(row.pszRead));
        EXPECT_THAT(listed.strOutput, Not(HasSubstr(row.pszNot)));
        for (const std::vector<std::string>& words : {std::vector<std::string>{"set", "a=1"}, {"import", strExport}}) {
            EXPECT_EQ(fapi({"-y", "env", words[0], words[1]}).s32Exit, 3);
            EXPECT_EQ(readFile(image()), row.strImage) << "not without --damaged";
        }
        done({"env", "import", "--replace", strExport});
        EXPECT_EQ(readFile(image()), strGood);
        writeFile("set/env/emmc.img", row.strImage);
        done({"env", "repair"});
        EXPECT_THAT(vset::check(set()), IsEmpty());
    }
}

TEST_F(ServiceCli, WhatIsNoVariableIsToldAndLeftOut) {
    using namespace std::string_literals;
    std::string strImage = "a=1\0junk\0a=2\0b=3\0\0stale=1"s;
    strImage.resize(65532);
    const auto crc = crc32(0, reinterpret_cast<const Bytef*>(strImage.data()), 65532);
    for (int i = 3; i >= 0; --i) {
        strImage.insert(strImage.begin(), static_cast<char>(crc >> 8 * i & 0xFF));
    }
    writeFile("set/env/emmc.img", strImage);
    const test::ProcessResult listed = fapi({"env", "list"});
    EXPECT_EQ(listed.s32Exit, 0);
    EXPECT_EQ(listed.strOutput, "a=1\nb=3\n");
    EXPECT_THAT(listed.strError, HasSubstr("the record at byte 8 is no variable: junk\nfapi: emmc: a is there twice"));
    const test::ProcessResult changed = fapi({"-y", "env", "set", "c=4"});
    EXPECT_THAT(changed.strError, HasSubstr("junk; the new image has it no more"));
    EXPECT_EQ(readFile(image()).substr(4, 13), "a=1\0b=3\0c=4\0\0"s);
}

TEST_F(ServiceCli, ADamagedSetIsMendedAndItsFilesAreKept) {
    done({"env", "set", "mine=1"});
    done({"env", "set", "mine=2"});
    const std::string strJson = readFile(set() + "/set.json");
    const struct {
        const char* pszFile;
        std::string strBytes;
        const char* pszExpected;  // what the file begins with afterwards
    } rows[] = {
        {"set.json", "rubbish", "{\n  \"format\": 1"},
        {"set.json", "{\"boots\": -1, \"watchdog_rebooted\": true}", "{\n  \"format\": 1"},
        {"env/nand.img", "rubbish", "\xFF\xFF\xFF\xFF"},
        {"partitions/misc.img", "keys", "keys\xFF\xFF"},
        {"partitions/misc.img", "keys" + std::string(1u << 20, 'x'), "keysxx"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pszFile);
        const std::string strFile = set() + "/" + row.pszFile;
        writeFile("set/" + std::string(row.pszFile), row.strBytes);
        const std::string strKept = fapiJson({"-y", "set", "repair"}).value("kept", "");
        EXPECT_EQ(readFile(strKept), row.strBytes);
        EXPECT_EQ(readFile(strFile).rfind(row.pszExpected, 0), 0u);
        EXPECT_THAT(vset::check(set()), IsEmpty());
    }
    EXPECT_THAT(readFile(set() + "/set.json"), HasSubstr("\"misc\": 1048576"));
    writeFile("set/env/emmc.img", "rubbish");
    fs::remove(set() + "/set.json");
    fs::remove_all(set() + "/partitions");
    fs::remove_all(set() + "/tree");
    done({"set", "repair"});
    EXPECT_THAT(vset::check(set()), IsEmpty());
    EXPECT_EQ(done({"env", "get", "mine"}), "mine=1\n") << "the image before is better than a new set's";
    EXPECT_THAT(done({"call", "common_get_fapi_status"}), HasSubstr("ok"));
    EXPECT_THAT(done({"set", "repair"}), HasSubstr("is whole"));
    fs::create_directory(folder() + "/photos");
    EXPECT_EQ(test::runProcess({FAPI_BINARY, "--set", folder() + "/photos", "-y", "set", "repair"}).s32Exit, 3);
    EXPECT_TRUE(fs::is_empty(folder() + "/photos"));
}

TEST_F(ServiceCli, ABackupBringsTheWholeSetBack) {
    const std::string strBackup = folder() + "/set.tar.gz";
    done({"env", "set", "mine=1"});
    writeFile("set/tree/mnt/usb/na\xffme\\n\n", "bytes");
    writeFile("set/partitions/misc.img", std::string(1u << 20, '\0'));
    fs::permissions(set() + "/tree/vendor/factory/bin/factory_svc", fs::perms(0751));
    fs::create_symlink("/etc/passwd", set() + "/tree/mnt/usb/link");
    const test::ProcessResult made = fapi({"set", "backup", strBackup});
    EXPECT_EQ(made.s32Exit, 0) << made.strError;
    EXPECT_THAT(made.strError, HasSubstr("tree/mnt/usb/link: is neither a file nor a folder and is left out"));
    fs::remove(set() + "/tree/mnt/usb/link");
    const auto files = filesOf(set());

    done({"env", "set", "mine=2"});
    writeFile("set/tree/mnt/usb/new", "x");
    done({"set", "restore", strBackup});
    EXPECT_EQ(filesOf(set()), files);
    EXPECT_EQ(fs::status(set() + "/tree/vendor/factory/bin/factory_svc").permissions(), fs::perms(0751));
    EXPECT_TRUE(fs::is_directory(set() + "/tree/mnt/usb"));
    fs::remove_all(set());
    done({"set", "restore", strBackup});
    EXPECT_EQ(filesOf(set()), files) << "where there was none";

    // Other programs read it, too.
    fs::create_directory(folder() + "/out");
    EXPECT_EQ(test::runProcess({"sh", "-c", "cd \"$1\" && tar xf \"$2\" && sha256sum --check --quiet SHA256SUMS", "sh",
                                folder() + "/out", strBackup})
                  .s32Exit,
              0);
    const std::string strBytes = readFile(strBackup);
    for (const std::size_t size : {std::size_t{0}, std::size_t{100}, strBytes.size() / 2, strBytes.size() - 600}) {
        EXPECT_EQ(fapi({"-y", "set", "restore", writeFile("cut.tar.gz", strBytes.substr(0, size))}).s32Exit, 3) << size;
        EXPECT_EQ(filesOf(set()), files);
    }
}

struct Entry {
    std::string strPath;
    std::string strBytes;
    unsigned int u32Type = AE_IFREG;
    const char* pszHardLink = nullptr;
};

void writeArchive(const std::string& strFile, const std::vector<Entry>& entries) {
    archive* const pArchive = archive_write_new();
    archive_write_set_format_pax(pArchive);
    ASSERT_EQ(archive_write_open_filename(pArchive, strFile.c_str()), ARCHIVE_OK);
    for (const Entry& stEntry : entries) {
        archive_entry* const pEntry = archive_entry_new();
        archive_entry_set_pathname(pEntry, stEntry.strPath.c_str());
        archive_entry_set_filetype(pEntry, stEntry.u32Type);
        archive_entry_set_perm(pEntry, 0755);
        archive_entry_set_size(pEntry, static_cast<la_int64_t>(stEntry.strBytes.size()));
        if (stEntry.u32Type == AE_IFLNK) {
            archive_entry_set_symlink(pEntry, "..");
        }
        if (stEntry.pszHardLink != nullptr) {
            archive_entry_set_hardlink(pEntry, stEntry.pszHardLink);
        }
        ASSERT_EQ(archive_write_header(pArchive, pEntry), ARCHIVE_OK) << stEntry.strPath;
        archive_write_data(pArchive, stEntry.strBytes.data(), stEntry.strBytes.size());
        archive_entry_free(pEntry);
    }
    archive_write_free(pArchive);
}

// Each row adds to an archive that is good without it.
TEST_F(ServiceCli, AHostileArchiveWritesNothingAnywhere) {
    const auto files = filesOf(set());
    const std::string strOutside = folder() + "/outside";
    const std::pair<std::string, std::vector<Entry>> rows[] = {
        // what is said; nothing: it is restored
        {"leads out of the set", {{"../outside", "x"}}},
        {"leads out of the set", {{strOutside, "x"}}},
        {"leads out of the set", {{"env/../../outside", "x"}}},
        {"leads out of the set", {{"..", "", AE_IFDIR}}},
        {"leads out of the set", {{"env//x", "x"}}},
        {"neither a file nor a folder", {{"env/up", "", AE_IFLNK}}},
        {"neither a file nor a folder", {{"env/up", "", AE_IFLNK}, {"env/up/outside", "x"}}},
        {"neither a file nor a folder", {{"env/hard", "", AE_IFREG, "set.json"}}},
        {"neither a file nor a folder", {{"env/pipe", "", AE_IFIFO}}},
        {"neither a file nor a folder", {{"env/null", "", AE_IFCHR}}},
        {"is there twice", {{"env/a", "x"}, {"env/a", "x"}}},
        {"is not in SHA256SUMS", {{"env/unlisted", "x"}}},
        {"is not what was backed up", {{"env/other", "x"}}},
        {"env/lost is missing", {{"env/a", "x"}}},
        {"", {{"env/a", "x"}}},
    };
    for (const auto& [strSaid, added] : rows) {
        SCOPED_TRACE(added.back().strPath + strSaid);
        tool::Sums sums;
        std::vector<Entry> entries = {{"SHA256SUMS", ""}, {"env", "", AE_IFDIR}, {"set.json", "{}"}};
        entries.insert(entries.end(), added.begin(), added.end());
        for (const Entry& stEntry : entries) {
            tool::Sha256 sum;
            sum.add(stEntry.strBytes.data(), stEntry.strBytes.size());
            sums[stEntry.strPath] = stEntry.strPath == "env/other" ? std::string(64, '0') : sum.sum();
        }
        for (const char* pszNone : {"SHA256SUMS", "env", "env/unlisted"}) {
            sums.erase(pszNone);
        }
        if (strSaid == "env/lost is missing") {
            sums["env/lost"] = std::string(64, '0');
        }
        entries[0].strBytes = tool::sumsText(sums);
        writeArchive(folder() + "/hostile.tar", entries);
        const test::ProcessResult result = fapi({"-y", "set", "restore", folder() + "/hostile.tar"});
        EXPECT_EQ(result.s32Exit, strSaid.empty() ? 0 : 3) << result.strError;
        EXPECT_THAT(result.strError, HasSubstr(strSaid));
        EXPECT_EQ(filesOf(set()) != files, strSaid.empty());
        EXPECT_FALSE(fs::exists(strOutside));
        for (const auto& entry : fs::directory_iterator(folder())) {
            EXPECT_THAT(entry.path().filename(), AnyOf("set", "hostile.tar", "state")) << "left behind";
        }
    }
}

}  // namespace
