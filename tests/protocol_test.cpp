// SPDX-License-Identifier: Apache-2.0
// What bench and agent send each other: fields, messages, lines, descriptions, sums.
#include <climits>
#include <limits>
#include <regex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "protocol/description.h"
#include "protocol/framing.h"
#include "protocol/message.h"
#include "protocol/sha256.h"
#include "support/refusals.h"

namespace {

using test::errorOf;
using testing::ElementsAre;
using testing::HasSubstr;
using tool::Field;
using tool::Framing;

constexpr Framing kPlain = Framing::plain;
constexpr Framing kChecked = Framing::checked;

TEST(Fields, AreReadAsTheyWereWritten) {
    const struct {
        Field field;
        std::string text, asciiText;
    } rows[] = {
        {Field::List{nullptr, true, LLONG_MAX, LLONG_MIN, 0.1, 1e300}, "", ""},
        {"a\"\\\n\x7f", R"("a\"\\\u000a\u007f")", R"("a\"\\\u000a\u007f")"},
        {"ä€😀", "\"ä€😀\"", R"("\u00e4\u20ac\ud83d\ude00")"},
        {tool::Bytes{}, R"({"bytes":""})", R"({"bytes":""})"},
        {tool::Bytes{0, 1, 2, 0xFF}, R"({"bytes":"AAEC/w=="})", R"({"bytes":"AAEC/w=="})"},
        {Field::ofSet(std::string("\xff\0~", 3)), R"({"bytes":"/wB+","text":true})", R"({"bytes":"/wB+","text":true})"},
        {Field{{"z", 1}, {"a", Field{{"text", true}, {"bytes", 4}}}, {"", Field::Fields()}},
         R"({"z":1,"a":{"text":true,"bytes":4},"":{}})", R"({"z":1,"a":{"text":true,"bytes":4},"":{}})"},
        {Field{{"long", Field::List{tool::Bytes(5000, 'a'), tool::Bytes{7}, "{\"bytes\":\"", tool::Bytes(5000, 'b')}}},
         "", ""},
        // Not to be taken for bytes.
        {Field{{"bytes", "plain"}}, "", ""},
        {Field{{"bytes", "plain"}, {"text", true}}, "", ""},
    };
    for (const auto& row : rows) {
        const std::string text = tool::toJsonText(row.field);
        const std::string asciiText = tool::toJsonText(row.field, true);
        EXPECT_TRUE(row.text.empty() || text == row.text) << text;
        EXPECT_TRUE(row.asciiText.empty() || asciiText == row.asciiText) << asciiText;
        EXPECT_EQ(tool::toJsonText(tool::parseJsonText(asciiText)), text) << "written again by who passes it on";
        EXPECT_TRUE(tool::parseJsonText(text) == row.field) << text;
    }
    EXPECT_EQ(tool::toJsonText(Field::List{std::numeric_limits<double>::quiet_NaN(), "a\xff\xc3"}),
              "[null,\"a\xEF\xBF\xBD\xEF\xBF\xBD\"]");
}

TEST(Fields, RefuseWhatIsNoMessage) {
    const std::string opened(64, '['), closed(64, ']');
    EXPECT_TRUE(tool::parseJsonText(opened + closed).isList());
    const std::pair<std::string, const char*> texts[] = {
        {"", "no JSON"},
        {"{\"a\":1}x", "no JSON at byte 8"},
        {"\"" + std::string(100, 'a') + "\xf0", "no JSON"},
        {"\"\xff\"", "no JSON"},
        {R"("\ud800")", "no JSON"},
        {R"("\udc00")", "no JSON"},
        {std::string("{}\0x", 4), "no JSON"},
        {"1e999", "no JSON"},
        {"NaN", "no JSON"},
        {"9223372036854775808", "64 bits"},
        {"-9223372036854775809", "64 bits"},
        {"99999999999999999999", "64 bits"},
        {"[" + opened + closed + "]", "deeper"},
        {R"({"bytes":"AAA"})", "base64"},
        {R"({"bytes":"AA\n="})", "base64"},
        {R"({"bytes":"AB=="})", "base64"},
        {R"({"bytes":"AAB="})", "base64"},
        {R"({"bytes":"A==="})", "base64"},
        {R"({"bytes":"AA=A"})", "base64"},
        {R"({"bytes":"AA==AAAA"})", "base64"},
        {R"({"bytes":"_-AA","text":true})", "base64"},
        {R"([{"bytes":"#"},{"bytes":")" + std::string(5000, 'A') + R"("}])", "base64"},
        {R"({"bytes":")" + std::string(5000, 'A') + R"(="})", "base64"},
        {R"(["{"bytes":")" + std::string(5000, 'A') + R"("}"])", "no JSON"},
    };
    for (const auto& [text, expected] : texts) {
        EXPECT_THAT(errorOf([&text = text] { tool::parseJsonText(text); }), HasSubstr(expected)) << text;
    }
    const std::string slashes(5000, '/');
    const std::string escaped = std::regex_replace(slashes, std::regex("/"), "\\/");
    EXPECT_EQ(tool::parseJsonText(R"({"bytes":")" + escaped + "\"}").bytes(), tool::fromBase64(slashes));
    const Field field{{"name", "x"}, {"size", 3}, {"none", nullptr}};
    EXPECT_EQ(errorOf([&] { field.at("bytes"); }), "\"bytes\" is missing");
    EXPECT_EQ(errorOf([&] { field["name"].number(); }), "expected a whole number, found a text");
    EXPECT_EQ(errorOf([&] { field["nothing"].list(); }), "expected a list, found nothing");
    EXPECT_EQ(errorOf([&] { field["size"].textOr("x"); }), "expected a text, found a whole number");
    EXPECT_TRUE(field.at("none").isNull() && field["size"]["deeper"].isNull() && field["size"].fraction() == 3);
}

TEST(Messages, AreOneOfThree) {
    const std::pair<std::string, const char*> texts[] = {
        {R"({"jsonrpc":"2.0","id":7,"method":"call","ack":6,"params":{"a":1}})", "request"},
        {R"({"jsonrpc":"2.0","id":7,"method":"describe"})", "request"},
        {R"({"jsonrpc":"2.0","id":7,"result":null})", "answer"},
        {R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"no JSON"}})", "answer"},
        {R"({"jsonrpc":"2.0","id":7,"error":{"code":3,"message":"died","data":{"signal":"SIGSEGV"}}})", "answer"},
        {R"({"jsonrpc":"2.0","method":"event","params":{"seq":1}})", "notification"},
    };
    for (const auto& [text, kind] : texts) {
        const tool::Message message = tool::parseMessage(tool::parseJsonText(text));
        const std::string found = message.request ? "request" : message.answer ? "answer" : "notification";
        EXPECT_EQ(found, kind) << text;
        EXPECT_EQ(toJsonText(message.request  ? toField(*message.request)
                             : message.answer ? toField(*message.answer)
                                              : toField(*message.notification)),
                  text);
    }
    for (const char* text : {
             R"({"id":1,"method":"call"})",
             R"({"jsonrpc":"1.0","id":1,"method":"call"})",
             R"({"jsonrpc":"2.0","id":"1","method":"call"})",
             R"({"jsonrpc":"2.0","id":1,"method":5})",
             R"({"jsonrpc":"2.0","id":1,"method":"call","params":[1]})",
             R"({"jsonrpc":"2.0","id":1,"result":1,"error":{"code":1}})",
             R"({"jsonrpc":"2.0","id":1})",
             R"({"jsonrpc":"2.0","result":1})",
             R"({"jsonrpc":"2.0","id":1,"error":{}})",
             R"([{"jsonrpc":"2.0","method":"event"}])",
         }) {
        EXPECT_THROW(tool::parseMessage(tool::parseJsonText(text)), tool::MessageError) << text;
    }
    EXPECT_EQ(tool::idOf(tool::parseJsonText(R"({"id":5,"method":7})")), 5);
}

// The lines as "message {...}", "console text".
std::vector<std::string> linesOf(tool::LineReader& reader, std::string_view bytes, std::size_t piece) {
    constexpr const char* kKinds[] = {"message", "console", "damaged", "tooLong", "noMessage"};
    std::vector<tool::Line> lines;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) {
        reader.take(bytes.substr(0, piece), lines);
    }
    std::vector<std::string> texts;
    for (const tool::Line& line : lines) {
        const bool isMessage = line.kind == tool::Line::Kind::message;
        texts.push_back(kKinds[static_cast<int>(line.kind)] +
                        (" " + (isMessage ? toJsonText(line.object) : line.text)));
    }
    return texts;
}

const Field kObject = {{"jsonrpc", "2.0"}, {"id", 1}, {"result", "ä"}};
const std::string kMessage = "message " + toJsonText(kObject);

TEST(Lines, AreCutFromAnyPieces) {
    const std::string plain = tool::frame(kObject, kPlain);
    const std::string checked = tool::frame(kObject, kChecked);
    ASSERT_EQ(plain, "{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":\"ä\"}\n");
    ASSERT_EQ(checked, "@42 da0c113a {\"jsonrpc\":\"2.0\",\"id\":1,\"result\":\"\\u00e4\"}\n");
    const std::string bare = checked.substr(0, checked.size() - 1);
    const struct {
        Framing framing;
        std::string bytes;
        std::vector<std::string> lines;
    } rows[] = {
        {kPlain,
         plain + "login:\r\n\n" + plain.substr(0, plain.size() - 1) + "\r\r\n",
         {kMessage, "console login:", "console ", kMessage}},
        {kPlain, "{\"a\":\n[1]\n", {"noMessage {\"a\":", "console [1]"}},
        {kPlain, checked + bare + " \n", {kMessage, "console " + bare + " "}},
        {kChecked, checked + bare + "\r\n", {kMessage, kMessage}},
        {kChecked,
         "uart@7e201000 @5 x\n[ 1.0] usb " + checked,
         {"console uart@7e201000 @5 x", "console [ 1.0] usb ", kMessage}},
        // A newline is lost, or the kernel's line begins in that of a message.
        {kChecked, bare + checked + bare + "[ 2.0] oom\n", {kMessage, kMessage, kMessage, "console [ 2.0] oom"}},
        {kChecked,
         "x" + bare.substr(0, 30) + "[3.0]" + bare.substr(30) + checked,
         {"damaged x" + bare.substr(0, 30) + "[3.0]" + bare.substr(30), kMessage}},
        {kChecked,
         bare.substr(0, 20) + "\n" + bare.substr(20) + "\n" + bare.substr(3) + "\n",
         {"damaged " + bare.substr(0, 20), "console " + bare.substr(20), "damaged " + bare.substr(3)}},
        {kChecked, plain, {"damaged " + plain.substr(0, plain.size() - 1)}},
        {kChecked, "@2 3f39b042 17\n", {"noMessage 17"}},
    };
    for (const auto& row : rows) {
        for (std::size_t piece = 1; piece <= row.bytes.size(); ++piece) {
            tool::LineReader reader(row.framing);
            ASSERT_EQ(linesOf(reader, row.bytes, piece), row.lines) << row.bytes << " in pieces of " << piece;
            ASSERT_FALSE(reader.isInLine());
        }
    }
}

TEST(Lines, OfWhichABitIsWrongAreDamaged) {
    const std::string checked = tool::frame(kObject, kChecked);
    for (std::size_t bit = 0; bit < (checked.size() - 1) * 8; ++bit) {
        std::string wrong = checked;
        wrong[bit / 8] = static_cast<char>(wrong[bit / 8] ^ 1 << bit % 8);
        tool::LineReader reader(kChecked);
        const std::vector<std::string> lines = linesOf(reader, wrong + checked, wrong.size());
        EXPECT_THAT(lines, testing::Contains(testing::StartsWith("damaged "))) << wrong;
        EXPECT_THAT(lines, testing::Contains(kMessage).Times(1)) << wrong;
    }
}

TEST(Lines, HaveALimit) {
    const std::string around = toJsonText(Field{{"a", ""}});
    const Field longest = {{"a", std::string(tool::kLongestMessage - around.size(), 'x')}};
    const Field tooLong = {{"a", std::string(tool::kLongestMessage - around.size() + 1, 'x')}};
    for (const Framing framing : {kPlain, kChecked}) {
        tool::LineReader reader(framing);
        EXPECT_EQ(linesOf(reader, tool::frame(longest, framing), 65536), std::vector{"message " + toJsonText(longest)});
        EXPECT_THROW(tool::frame(tooLong, framing), tool::MessageError);
        EXPECT_EQ(linesOf(reader, "{" + std::string(40 << 20, 'x'), 65536),
                  std::vector{"tooLong {" + std::string(4095, 'x')});
        EXPECT_TRUE(reader.isInLine());
        EXPECT_THAT(linesOf(reader, "x\n" + tool::frame(kObject, framing), 65536), ElementsAre(kMessage));
    }
    // As many beginnings as fit: each of them compared with all that follows would take hours.
    std::string beginnings;
    while (beginnings.size() < tool::kLongestMessage) {
        beginnings += "@8000000 00000000 ";
    }
    tool::LineReader reader(kChecked);
    EXPECT_THAT(linesOf(reader, beginnings + "\n", 1 << 20), ElementsAre(testing::StartsWith("damaged @8000000 ")));
}

// Every field of every row, none with its default.
constexpr char kDescription[] =
    R"({"operations":[{"name":"a_vextvfapi_sys_copy","module":"sys","help":"Copies.","result":"oneIsGood","arguments":[)"
    R"({"name":"MODE","kind":"choice","help":"how","min":-1,"max":9,"choices":[{"name":"all","value":2}],"default":"",)"
    R"("unit":"ms"}],"outputs":[{"name":"key","help":"it","isBytes":true,"unit":"V","role":"secret"}],)"
    R"("danger":"mustFinish","destroys":"the rest","isChecked":true,"needs":["a_vextvfapi_sys_init"],"initialises":true,)"
    R"("resets":true,"readsLogSwitch":true,"use":"read-partition","example":{"line":"sys_copy","before":["sys_init"],)"
    R"("failure":"no file"}}],"actions":[{"name":"put","help":"Puts.","arguments":[{"name":"FILE","kind":"path"}],)"
    R"("outputs":[{"name":"size"}],"danger":"reads","prompt":"Put ${FILE}","sessionOnly":true,"endsWorker":true,)"
    R"("isChecked":true}],"eventModules":["prphrl"],"events":[{"module":"prphrl","number":3,"help":"a key","fields":)"
    R"([{"name":"value","words":[{"name":"down","value":1}],"meaning":"key code"}]}],"functions":[{"name":"HW_GPIO_Read",)"
    R"("fields":["pad"],"failures":"-1"}],"codes":[{"name":"busy","value":-3}],"pictures":[{"name":"window",)"
    R"("number":"WINDOW","max":1}],"hash":"00ff"})";

TEST(Descriptions, AreReadByOldAndNew) {
    const Field field = tool::parseJsonText(kDescription);
    const tool::Description description = tool::parseDescription(field);
    EXPECT_EQ(toJsonText(toField(description)), kDescription);
    ASSERT_NE(description.operation("sys_copy"), nullptr);
    EXPECT_EQ(description.operation("a_vextvfapi_sys_copy"), description.operation("sys_copy"));
    EXPECT_EQ(description.operation("copy"), nullptr);
    EXPECT_EQ(description.action("put"), &description.actions[0]);
    EXPECT_EQ(description.action("sys_copy"), nullptr);

    // The hash is of all but itself.
    Field changed = field;
    changed.set("hash", "other");
    EXPECT_EQ(hashOf(tool::parseDescription(changed)), hashOf(description));
    changed.set("codes", Field::List{});
    EXPECT_NE(hashOf(tool::parseDescription(changed)), hashOf(description));

    // What a newer agent says is left out or taken for what is safe.
    const tool::Description newer = tool::parseDescription(tool::parseJsonText(
        R"({"colors":[1],"operations":[{"name":"_a_vextvfapi_x","since":7,"result":"new","danger":"new","arguments":)"
        R"([{"kind":"new"}],"outputs":[{"role":"new"}]},{"help":null}]})"));
    ASSERT_EQ(newer.operations.size(), 2u);
    const tool::Operation& operation = newer.operations[0];
    EXPECT_EQ(newer.operation("_x"), &operation);
    EXPECT_TRUE(operation.result == tool::Result::value && operation.danger == tool::Danger::destroys);
    EXPECT_TRUE(operation.arguments.at(0).kind == tool::Kind::text && !operation.arguments[0].byDefault);
    EXPECT_TRUE(operation.outputs.at(0).role == tool::Role::secret);
    EXPECT_TRUE(newer.operations[1].danger == tool::Danger::changes && newer.functions.empty());

    EXPECT_EQ(
        errorOf([] { tool::parseDescription(tool::parseJsonText(R"({"operations":[{"arguments":[{"min":"1"}]}]})")); }),
        "operations: arguments: min: expected a whole number, found a text");
    EXPECT_EQ(errorOf([] { tool::parseDescription(Field::List{}); }), "expected named fields, found a list");
}

TEST(Sums, AreThoseOfTheStandards) {
    EXPECT_EQ(tool::crc32("123456789"), 0xCBF43926u);
    const std::pair<std::string, const char*> texts[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
        {std::string(56, 'a'), "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
        {std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
        {std::string(119, 'a'), "31eba51c313a5c08226adf18d4a359cfdfd8d2e816b13f4af952f7ea6584dcfb"},
        {std::string(120, 'a'), "2f3d335432c70b580af0e8e1b3674a7c020d683aa5f73aaaedfdc55af904c21c"},
        {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto& [text, expected] : texts) {
        for (const std::size_t piece : {1u, 63u, 64u, 1000u, 1000000u}) {
            tool::Sha256 sum;
            for (std::size_t at = 0; at < text.size(); at += piece) {
                sum.add(text.data() + at, std::min(piece, text.size() - at));
            }
            EXPECT_EQ(sum.sum(), expected) << text.size() << " bytes in pieces of " << piece;
        }
    }
}

}  // namespace
