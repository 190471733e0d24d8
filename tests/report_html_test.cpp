// SPDX-License-Identifier: Apache-2.0
// The report that people read: what is on the page, that hostile texts stay texts, and the log of what failed.
#include <algorithm>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "support/plan_fixture.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class ReportHtml : public test::PlanTest {
protected:
    // Runs the plan and reads the page as XML, which is stricter than any browser.
    void readPage(const std::string& strText) {
        runPlan(strText);
        _strPage = readFile(reportFile(".html"));
        const pugi::xml_parse_result parsed =
            _document.load_string(_strPage.c_str(), pugi::parse_default | pugi::parse_doctype | pugi::parse_ws_pcdata);
        ASSERT_TRUE(parsed) << parsed.description() << " at " << parsed.offset;
    }

    // Returns the text below each element that the path finds.
    std::vector<std::string> texts(const std::string& strPath) const {
        std::vector<std::string> found;
        for (const auto& place : _document.select_nodes(strPath.c_str())) {
            found.push_back(textOf(place.node()));
        }
        return found;
    }
    std::string text(const std::string& strPath) const { return textOf(_document.select_node(strPath.c_str()).node()); }
    std::size_t count(const std::string& strPath) const { return _document.select_nodes(strPath.c_str()).size(); }
    // Each link leads to one element of the page.
    void expectTargets() const {
        std::multiset<std::string> anchors;
        for (const auto& anchor : _document.select_nodes("//@id")) {
            anchors.insert(std::string("#") + anchor.attribute().value());
        }
        for (const auto& link : _document.select_nodes("//a/@href")) {
            EXPECT_EQ(anchors.count(link.attribute().value()), 1u) << link.attribute().value();
        }
    }
    static std::string step(std::size_t number) { return "//section[@id='step-" + std::to_string(number) + "']"; }

    std::string _strPage;
    pugi::xml_document _document;

private:
    static std::string textOf(const pugi::xml_node& node) {
        std::string strText = node.value();
        for (const pugi::xml_node& child : node.children()) {
            strText += textOf(child);
        }
        return strText;
    }
};

TEST_F(ReportHtml, TellsVerdictStepsAndWhatFailed) {
    readPage(
        "on-failure continue\n"
        "step fine\nsys_init\n"
        "step 'not there'\nsys_check_file /data/none\n"
        "step again retry 8\nsys_check_file /data/none\n"
        "teardown\nstep 'clean up'\nsys_init\n");
    EXPECT_EQ(text("//header/a[@class='word' and @href='#step-2']"), "FAIL") << "leads to the first failure";
    EXPECT_EQ(text("//h1"), "Test");
    EXPECT_THAT(texts("//header//label[input/@type = 'checkbox']"), ElementsAre("2 passed", "2 failed"));
    EXPECT_THAT(text("//dl[@class='facts']"), AllOf(HasSubstr("v1.0.0.13"), HasSubstr(set()), HasSubstr("once since")));
    EXPECT_THAT(texts("//table[1]/tbody/tr/td[2]/a"), ElementsAre("not there", "again", "fine", "clean up"))
        << "what failed comes first";
    EXPECT_THAT(texts("//table[1]/tbody/tr/td[3]"), ElementsAre("failed", "failed", "passed", "passed"));
    EXPECT_THAT(texts("//table[1]/tbody/tr/td[4]"), ElementsAre("", "9", "", ""));
    EXPECT_THAT(text("//table[1]/tbody/tr[1]/td[2]"), HasSubstr("line 6: sys_check_file /data/none answered -1"));
    expectTargets();
    EXPECT_EQ(count(step(3) + "/details"), 6u) << "both ends of many attempts";
    EXPECT_THAT(text(step(3) + "/p[@class='note']"), HasSubstr("3 more attempts"));
    // Nothing is fetched from anywhere.
    EXPECT_EQ(count("//script | //link | //iframe | //object"), 0u);
    EXPECT_THAT(_strPage,
                AllOf(testing::StartsWith("<!DOCTYPE html>"), Not(HasSubstr("http")), Not(HasSubstr("url("))));
}

TEST_F(ReportHtml, MeasurementsStandAgainstTheirLimits) {
    readPage(
        "on-failure continue\n"
        "step a\nsys_init\nset put /data/a text:AB\nsys_get_file_checksum /data/a\n"
        "expect checksum in 100..200 margin 5\nexpect checksum in 130..200 margin 5\nexpect checksum in 131..131\n"
        "step b\nsys_nty_event 7 -3\nexpect event 7 with value in -9223372036854775808..9223372036854775807 within 1s\n"
        "expect status in 5..6\n");
    const std::string strRows = "//h2[contains(., 'limits')]/following-sibling::table[1]/tbody/tr";
    EXPECT_THAT(text(strRows + "[4]/td[3]"), "event.value sys_nty_event 7 -3");
    EXPECT_THAT(texts(strRows + "/td[4]"), ElementsAre("131", "131", "131", "-3", "0"));
    EXPECT_THAT(texts(strRows + "/td[5]"), ElementsAre("100 to 200 margin 5", "130 to 200 margin 5", "131 to 131",
                                                       "-9223372036854775808 to 9223372036854775807", "5 to 6"));
    EXPECT_THAT(texts(strRows + "/td[7]"), ElementsAre("passed", "marginal", "passed", "passed", "failed"));
    std::vector<double> places;
    for (const auto& place : _document.select_nodes((strRows + "//circle/@cx").c_str())) {
        places.push_back(place.attribute().as_double());
    }
    ASSERT_EQ(places.size(), 5u);
    EXPECT_NEAR(places[0], 48 + 31 * 1.44, 0.1) << "the limits are at 48 and 192 of 240";
    EXPECT_NEAR(places[2], 120, 0.1);
    EXPECT_NEAR(places[3], 120, 0.1);
    EXPECT_LT(places[4], 48);
    EXPECT_EQ(count(strRows + "//circle[@class='mark out']"), 1u);
}

TEST_F(ReportHtml, HostileTextsStayTexts) {
    readPage(
        "step \"<b>\\\"bold\\\" & 'x'</b>\\x1b[31m\\xff\"\nsys_init\n"
        "set put /data/x 'text:<script>alert(1)</script>'\nset get /data/x\n"
        "expect content is-not 'text:</pre><img src=x onerror=alert(1)>'\n"
        "set put /data/x hex:ff00013c\nset get /data/x\nsys_check_file '/data/</style><i>'\n");
    EXPECT_EQ(count("//script | //b | //i | //section//img"), 0u);
    EXPECT_THAT(text(step(1) + "//h3"), AllOf(HasSubstr("<b>\"bold\" & 'x'</b>"), HasSubstr("\\xff")));
    EXPECT_THAT(text(step(1)), AllOf(HasSubstr("<script>alert(1)</script>"), HasSubstr("</pre><img src=x onerror"),
                                     HasSubstr("/data/</style><i>")));
    for (const char c : _strPage) {
        EXPECT_TRUE(static_cast<unsigned char>(c) >= 0x20 || c == '\n') << static_cast<int>(c);
    }
}

TEST_F(ReportHtml, PicturesAndDataAreOnThePage) {
    readPage(
        "step a\nsys_init\ndisp_init\npicture one\ndisp_set_gamma_curve power:2.2 linear power:0.5\n"
        "data curves gamma 0\ndata numbers values before=-10 after=30\n"
        "sys_nty_event 7 5 'A long text repeats and repeats itself' repeat:300:x\nexpect event 7 within 1s\n");
    ASSERT_EQ(_result.s32Exit, 0) << _result.strOutput;
    const std::string strAddress = _document.select_node("//img/@src").attribute().value();
    const std::string strStart = "data:image/png;base64,";
    ASSERT_THAT(strAddress, testing::StartsWith(strStart));
    const std::string strFile = report()["steps"][0]["pictures"][0]["file"];
    const std::string strEncoded = writeFile("picture", strAddress.substr(strStart.size()));
    EXPECT_EQ(test::runProcess({"base64", "--decode", strEncoded}).strOutput, readFile(reports() + "/" + strFile));

    ASSERT_EQ(count("//figure"), 2u);
    EXPECT_THAT(texts("//figure/figcaption"), ElementsAre("curves", "numbers"));
    EXPECT_EQ(count("//figure[1]//polyline"), 3u);
    EXPECT_EQ(count("//figure[1]//polyline[@class='curve series-green']"), 1u);
    EXPECT_THAT(texts("//figure[1]//span[@class='entry']"),
                ElementsAre(HasSubstr("red: "), HasSubstr(" values, 0 to 65535"), HasSubstr("blue: ")));
    EXPECT_THAT(texts("//figure[2]//div"), ElementsAre("before-10", "after30"));
    EXPECT_THAT(texts("//ol[@class='moments']/li/span[@class='name']"),
                ElementsAre(testing::StartsWith("sys 0x7 value 5 text \"A long text")));
}

TEST_F(ReportHtml, TheLogOfAFailedAttemptIsKept) {
    readPage(
        "on-failure continue\n"
        "step good\nsys_init\nset put /data/there x\nsys_check_file /data/there\n"
        "step bad\nsys_check_file /data/none\n"
        "step 'the plan sees no switch'\n_common_init_debug_level\nexpect status is 0\n"
        "step died\nsys_check_file /data/nowhere\nexpect status failed\nset power-cycle\n"
        "sys_check_file /data/late\nexpect status failed\nsys_init\nsys_set_wdt on\nexpect no event 1 within 60s\n"
        "teardown\nstep 'a new process'\nsys_init\nsys_check_file /data/gone\n");
    EXPECT_EQ(count("//pre[@class='log']"), 3u);
    EXPECT_THAT(text(step(2) + "//pre[@class='log']"), AllOf(HasSubstr("[E] <a_vextvfapi_sys_check_file:"),
                                                             HasSubstr("/data/none"), Not(HasSubstr("/there"))));
    EXPECT_THAT(text(step(4) + "//pre[@class='log']"),
                AllOf(HasSubstr("/data/nowhere"), HasSubstr("a_vextvfapi_sys_set_wdt = 1"), Not(HasSubstr("/none"))));
    EXPECT_THAT(text(step(5) + "//pre[@class='log']"), HasSubstr("/data/gone"));
    EXPECT_THAT(_result.strError, Not(HasSubstr("(imp)"))) << "the terminal is not flooded";
    EXPECT_EQ(report()["steps"][2]["verdict"], "passed");
    EXPECT_FALSE(std::filesystem::exists(set() + "/tree/data/tvfapi_hal_debug"));
}

// A browser is to open the page of ten thousand steps, too.
TEST_F(ReportHtml, ThePageOfVeryManyStepsIsBounded) {
    std::string strPlan;
    for (int i = 0; i < 2000; ++i) {
        strPlan += "step 'Number " + std::to_string(i) + " of very many steps'\nset adc 3\nexpect value in 0..255\n";
    }
    readPage("on-failure continue\n" + strPlan + "step last\nsys_check_file /data/none\ndata kept values a=1\n");
    EXPECT_EQ(count("//table[1]/tbody/tr"), 2001u) << "each step is listed";
    EXPECT_THAT(text("//main/section[1]//h3"), HasSubstr("last"));
    EXPECT_EQ(count("//header//a[@href='#step-2001']"), 2u);
    EXPECT_LT(_strPage.size(), 400000 + 2000 * 260u) << "ten thousand need less than 3 MB";
    expectTargets();
}

// A plan sees the log that it switches on, as without a report.
TEST_F(ReportHtml, ThePlansOwnLogStaysItsOwn) {
    const std::string strPlan =
        "step a\nset log on\nsys_init\nsys_check_file /data/none\nexpect status failed\n"
        "set log off\nsys_check_file /data/still\nexpect status failed\n"
        "sys_init\nsys_check_file /data/silent\n";
    readPage(strPlan);
    EXPECT_THAT(_result.strError,
                AllOf(HasSubstr("/data/none"), HasSubstr("/data/still"), Not(HasSubstr("/data/silent"))));
    EXPECT_THAT(text("//pre[@class='log']"), AllOf(HasSubstr("/data/none"), HasSubstr("/data/silent")));
    const std::string strFile = writeFile("log.plan", "plan log\n" + strPlan);
    const std::string strAlone = fapi({"run", "--no-report", strFile}).strError;
    EXPECT_THAT(strAlone, AllOf(HasSubstr("/data/none"), HasSubstr("/data/still"), Not(HasSubstr("/data/silent"))));
}

TEST_F(ReportHtml, ALongLogIsCutToItsEnd) {
    std::string strPlan = "step a\nsys_init\n";
    for (int i = 0; i < 450; ++i) {
        strPlan += "sys_check_file /data/none" + std::to_string(i) + "\nexpect status failed\n";
    }
    readPage(strPlan + "sys_check_file /data/end\n");
    const std::string strLog = report()["steps"][0]["attempts"][0]["log"];
    EXPECT_EQ(std::count(strLog.begin(), strLog.end(), '\n'), 401);
    EXPECT_THAT(strLog, AllOf(testing::StartsWith("... what came before is not kept\n"), HasSubstr("none449"),
                              HasSubstr("none51)"), HasSubstr("/data/end"), Not(HasSubstr("none50)"))));
}

}  // namespace
