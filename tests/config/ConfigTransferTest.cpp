// Whole loads and saves over real sockets: documents that come back, and a service or a way to it
// that does everything wrong.

#include "config/LogConfigData.h"

#include "logging/LogClient.h"
#include "logging/LogSvcError.h"
#include "tests/config/ConfigTestSupport.h"
#include "tests/config/TransferServer.h"
#include "tests/support/UdpPeer.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <set>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

using Request = TransferServer::Request;

const std::string executionFailure =
    "Log client command execution failure when communicating with the server.";
const std::string malformed = "Received malformed acknowledge packet";
const std::string mismatch = "The received acknowledge does not match the actual request";
const std::string badFlags = "The received acknowledge contains unsupported flags";
const std::string negative = "The command was not successful (negative acknowledge received)";
const std::string noMemory = "Failed to allocate buffer for the data to be downloaded";

// The commands of a load and of a save, without the release, of which an error does not matter.
constexpr std::array<int, 4> loadCommands{33, 21, 17, 35};
constexpr std::array<int, 3> saveCommands{19, 18, 34};

const std::string small = documentOf("warn", specialization("A", "info"));

QString loadFailure(const std::string& cause)
{
    return QStringLiteral("Failed to load the configuration file and modules (") +
           QString::fromStdString(cause) + QLatin1Char(')');
}

QString saveFailure(const std::string& cause)
{
    return QStringLiteral("Failed to save the configuration file (") +
           QString::fromStdString(cause) + QLatin1Char(')');
}

bool isAbout(const Request& request, int command)
{
    return request.header().command == command;
}

std::string textOf(std::size_t length)
{
    std::string text(length, ' ');
    for (std::size_t i = 0; i < length; ++i)
        text[i] = static_cast<char>(i * 7 + i / 256);
    return text;
}

/// A document of exactly so many bytes.
std::string documentOfSize(std::size_t length)
{
    const std::string frame = R"({"a":""})";
    return R"({"a":")" + std::string(length - frame.size(), 'x') + R"("})";
}

double secondsOf(const std::function<void()>& action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// A service with a document and modules, and a program with that document loaded.
struct Session
{
    Session()
        : server(small, std::string("m\0n\0", 4))
    {
        EXPECT_EQ(data.loadConfiguration({}), QString());
        server.newCommands();
    }

    /// Both ways with a fault; the texts that they give.
    std::pair<QString, QString> loadAndSave(const TransferServer::Fault& fault)
    {
        server.setFault(fault);
        const QString load = data.loadConfiguration({});
        server.setFault({});
        // What a failed load emptied is there again for the save.
        EXPECT_EQ(data.loadConfiguration({}), QString());
        server.setFault(fault);
        const QString save = data.saveConfiguration();
        server.setFault({});
        return {load, save};
    }

    TransferServer server;
    LogConfigData data;
};

/// Answers each request with its acknowledge, changed.
TransferServer::Fault changed(int command, const std::function<void(PacketHeader&)>& change)
{
    return [=](FakeLogServer& server, const Request& request) {
        if (!isAbout(request, command))
            return false;
        PacketHeader header = acknowledgeOf(request.header(), PacketStatus::Success);
        change(header);
        // A payload of any command's length: what is looked at first must not depend on it.
        server.send(FakeLogServer::packet(header, TransferServer::u64(7)), request.sender);
        return true;
    };
}

} // namespace

// Sizes.

constexpr std::array<std::size_t, 9> sizes{0, 1, 1371, 1372, 1373, 1387, 1388, 1389, 100000};

TEST(ConfigTransfer, TextsOfEverySizeComeAndGoWhole)
{
    TransferServer server;
    LogClient client(server.peer().address());
    for (const std::size_t size : sizes) {
        const std::string text = textOf(size);
        server.setConfiguration(text);
        server.newCommands();
        EXPECT_EQ(client.download(LogClientCommand::GetConfiguration), text) << size;
        EXPECT_EQ(server.newCommands().size(), 3 + (size + 1387) / 1388) << size;

        server.setConfiguration("something else");
        client.upload(text.data(), text.size());
        EXPECT_EQ(server.configuration(), text) << size;
        EXPECT_EQ(server.newCommands().size(), 3 + (size + 1371) / 1372) << size;
        EXPECT_EQ(server.openBuffers(), 0U);
    }
}

TEST(ConfigTransfer, DocumentsOfEverySizeAreLoadedAndSaved)
{
    Session session;
    for (const std::size_t size : sizes) {
        const bool isDocument = size > 8;
        const std::string text = isDocument ? documentOfSize(size) : std::string(size, '{');
        session.server.setConfiguration(text);
        EXPECT_EQ(session.data.loadConfiguration({}),
                  isDocument ? QString()
                             : loadFailure("Failed to deserialize the configuration tree "
                                           "downloaded from the server"))
            << size;
        if (!isDocument)
            continue;
        session.server.setConfiguration("{}");
        EXPECT_EQ(session.data.saveConfiguration(), QString());
        EXPECT_EQ(session.server.configuration(), text) << size;
    }
}

TEST(ConfigTransfer, ADocumentOf1388BytesIsDownloadedInOneChunkOneOf1389InTwo)
{
    Session session;
    const auto pieces = [&](std::size_t size) {
        session.server.setConfiguration(documentOfSize(size));
        session.server.setModules("");
        const std::size_t before = session.server.peer().requests().size();
        EXPECT_EQ(session.data.loadConfiguration({}), QString());
        std::vector<std::uint32_t> lengths;
        const auto requests = session.server.peer().requests();
        for (std::size_t i = before; i < requests.size(); ++i)
            if (isAbout(requests[i], 17))
                lengths.push_back(loadU32(requests[i].payload() + 12));
        return lengths;
    };
    EXPECT_EQ(pieces(1388), (std::vector<std::uint32_t>{1388}));
    EXPECT_EQ(pieces(1389), (std::vector<std::uint32_t>{1388, 1}));
}

TEST(ConfigTransfer, AnUploadOf1372BytesTakesOneWriteChunkOf1373BytesTwoEachWithLength1388)
{
    Session session;
    const auto pieces = [&](std::size_t size) {
        session.server.setConfiguration(documentOfSize(size));
        EXPECT_EQ(session.data.loadConfiguration({}), QString());
        const std::size_t before = session.server.peer().requests().size();
        EXPECT_EQ(session.data.saveConfiguration(), QString());
        std::vector<std::uint32_t> lengths;
        const auto requests = session.server.peer().requests();
        for (std::size_t i = before; i < requests.size(); ++i) {
            if (!isAbout(requests[i], 18))
                continue;
            lengths.push_back(loadU32(requests[i].payload() + 12));
            EXPECT_EQ(requests[i].header().payloadLength, 1388);
            EXPECT_EQ(requests[i].bytes.size(), 1400U);
        }
        return lengths;
    };
    EXPECT_EQ(pieces(1372), (std::vector<std::uint32_t>{1372}));
    EXPECT_EQ(pieces(1373), (std::vector<std::uint32_t>{1372, 1}));
}

// Faults.

TEST(ConfigTransfer, ARequestOrAcknowledgeThatIsLostOnceIsNotMissed)
{
    for (const bool handled : {false, true}) {
        Session session;
        std::set<int> lost;
        // The first of each command; with `handled` the service has it, and its answer is lost.
        const auto fault = [&](FakeLogServer& server, const Request& request) {
            if (!lost.insert(request.header().command).second)
                return false;
            if (handled) {
                Request nowhere = request;
                static UdpPeer sink;
                nowhere.sender = sink.address();
                session.server.answer(server, nowhere);
            }
            return true;
        };
        const auto [load, save] = session.loadAndSave(fault);
        EXPECT_EQ(load, QString());
        EXPECT_EQ(save, QString());
        EXPECT_EQ(session.server.configuration(), small);
        EXPECT_EQ(lost, (std::set<int>{17, 18, 19, 20, 21, 33, 34, 35}));
    }
}

TEST(ConfigTransfer, ACommandThatIsNeverAnsweredEndsTheTransferAfterItsTwoWaits)
{
    Session session;
    const auto silent = [](int command) {
        return [=](FakeLogServer&, const Request& request) { return isAbout(request, command); };
    };
    for (const int command : loadCommands) {
        session.server.setFault(silent(command));
        QString failure;
        const double seconds = secondsOf([&] { failure = session.data.loadConfiguration({}); });
        EXPECT_EQ(failure, loadFailure(executionFailure)) << command;
        EXPECT_GT(seconds, 0.9) << command;
        EXPECT_LT(seconds, 5.0) << command;
        EXPECT_EQ(session.data.treeModel()->rowCount(), 0);
    }
    session.server.setFault({});
    ASSERT_EQ(session.data.loadConfiguration({}), QString());
    for (const int command : saveCommands) {
        session.server.setFault(silent(command));
        session.data.setModified(true);
        EXPECT_EQ(session.data.saveConfiguration(), saveFailure(executionFailure)) << command;
        EXPECT_TRUE(session.data.isModified());
    }
    EXPECT_EQ(session.server.configuration(), small);
    // Of the release it does not matter.
    session.server.setFault(silent(20));
    EXPECT_EQ(session.data.saveConfiguration(), QString());
    EXPECT_FALSE(session.data.isModified());
}

TEST(ConfigTransfer, AnAcknowledgeThatIsNotTheRightOneEndsTheTransfer)
{
    struct Case
    {
        std::string cause;
        std::function<void(PacketHeader&)> change;
    };
    const std::vector<Case> cases{
        {mismatch, [](PacketHeader& h) { ++h.sequence; }},
        {mismatch, [](PacketHeader& h) { ++h.command; }},
        {badFlags, [](PacketHeader& h) { h.flags = 1; }},
        {negative, [](PacketHeader& h) { h.status = 3; }},
        {negative, [](PacketHeader& h) { h.status = 1; }},
        {malformed, [](PacketHeader& h) { h.magic = magicLogMessage; }},
    };
    Session session;
    for (const Case& one : cases) {
        for (const int command : loadCommands) {
            const auto texts = session.loadAndSave(changed(command, one.change));
            EXPECT_EQ(texts.first, loadFailure(one.cause)) << command;
            EXPECT_EQ(texts.second, QString()) << command;
        }
        for (const int command : saveCommands) {
            const auto texts = session.loadAndSave(changed(command, one.change));
            EXPECT_EQ(texts.first, QString()) << command;
            EXPECT_EQ(texts.second, saveFailure(one.cause)) << command;
        }
        const auto texts = session.loadAndSave(changed(20, one.change));
        EXPECT_EQ(texts.first, QString());
        EXPECT_EQ(texts.second, QString());
        EXPECT_EQ(session.server.configuration(), small);
    }
}

TEST(ConfigTransfer, AnAcknowledgeThatIsNoPacketEndsTheTransfer)
{
    Session session;
    for (const std::size_t length : {0U, 1U, 11U, 13U, 1401U, 9000U}) {
        const auto texts = session.loadAndSave([&](FakeLogServer& server, const Request& request) {
            if (!isAbout(request, 21) && !isAbout(request, 18))
                return false;
            TransferServer::Bytes bytes = FakeLogServer::packet(
                acknowledgeOf(request.header(), PacketStatus::Success), TransferServer::u32(1));
            bytes.resize(length);
            server.send(bytes, request.sender);
            return true;
        });
        EXPECT_EQ(texts.first, loadFailure(malformed)) << length;
        // Nothing but the header counts in the acknowledge of a written piece, if all of it comes.
        EXPECT_EQ(texts.second, saveFailure(malformed)) << length;
    }
}

TEST(ConfigTransfer, AHandleOrSizeThatIsNotAllThereEndsTheTransfer)
{
    Session session;
    for (std::size_t length = 0; length < 8; ++length) {
        const auto texts = session.loadAndSave([&](FakeLogServer& server, const Request& request) {
            const bool isHandle = isAbout(request, 33) || isAbout(request, 19);
            if (!isHandle)
                return false;
            server.acknowledge(request, TransferServer::Bytes(length, 0xFF));
            return true;
        });
        EXPECT_EQ(texts.first, loadFailure(malformed)) << length;
        EXPECT_EQ(texts.second, saveFailure(malformed)) << length;
    }
    for (std::size_t length = 0; length < 4; ++length) {
        const auto texts = session.loadAndSave([&](FakeLogServer& server, const Request& request) {
            if (!isAbout(request, 21))
                return false;
            server.acknowledge(request, TransferServer::Bytes(length, 1));
            return true;
        });
        EXPECT_EQ(texts.first, loadFailure(malformed)) << length;
    }
}

TEST(ConfigTransfer, APieceOfAnotherLengthThanAskedForEndsTheLoad)
{
    Session session;
    const std::string text = documentOfSize(2000);
    session.server.setConfiguration(text);
    for (const std::size_t length : {0U, 1U, 611U, 613U, 1387U, 1388U}) {
        int pieces = 0;
        session.server.setFault([&](FakeLogServer& server, const Request& request) {
            if (!isAbout(request, 17) || ++pieces != 2)
                return false;
            server.acknowledge(request, TransferServer::Bytes(length, 'x'));
            return true;
        });
        EXPECT_EQ(session.data.loadConfiguration({}), loadFailure(malformed)) << length;
        session.server.setFault({});
    }
}

TEST(ConfigTransfer, AServiceThatReportsGigabytesIsRefused)
{
    Session session;
    for (const std::uint32_t size : {0xFFFFFFFFU, 0x80000000U}) {
        session.server.newCommands();
        const auto texts = session.loadAndSave([&](FakeLogServer& server, const Request& request) {
            if (!isAbout(request, 21))
                return false;
            server.acknowledge(request, TransferServer::u32(size));
            return true;
        });
        EXPECT_EQ(texts.first, loadFailure(noMemory));
    }
}

TEST(ConfigTransfer, AServiceThatDiesBetweenTwoPiecesEndsTheTransferAfterTwoWaits)
{
    Session session;
    session.server.setConfiguration(documentOfSize(5000));
    for (const int command : {17, 18}) {
        ASSERT_EQ(session.data.loadConfiguration({}), QString());
        std::atomic<int> pieces{0};
        session.server.setFault([&](FakeLogServer&, const Request& request) {
            pieces += isAbout(request, command) ? 1 : 0;
            return pieces > 2;
        });
        QString failure;
        const double seconds = secondsOf([&] {
            failure = command == 17 ? session.data.loadConfiguration({})
                                    : session.data.saveConfiguration();
        });
        EXPECT_EQ(failure,
                  command == 17 ? loadFailure(executionFailure) : saveFailure(executionFailure));
        EXPECT_EQ(pieces, 4) << "the third was sent twice";
        EXPECT_LT(seconds, 5.0);
        session.server.setFault({});
    }
    EXPECT_EQ(session.server.configuration(), documentOfSize(5000));
}

TEST(ConfigTransfer, WhatAnotherSenderSendsCostsAnAttempt)
{
    Session session;
    UdpPeer stranger;
    const auto forge = [&](const Request& request) {
        stranger.send(FakeLogServer::packet(acknowledgeOf(request.header(), PacketStatus::Success),
                                            TransferServer::u64(7)),
                      request.sender);
    };
    for (const int command : {33, 21, 17, 35}) {
        int requests = 0;
        session.server.setFault([&](FakeLogServer&, const Request& request) {
            if (!isAbout(request, command) || ++requests > 1)
                return false;
            forge(request);
            return true;
        });
        EXPECT_EQ(session.data.loadConfiguration({}), QString()) << command;
        EXPECT_EQ(rowsOf(*session.data.tableModel()).size(), 2);
        session.server.setFault([&](FakeLogServer&, const Request& request) {
            if (!isAbout(request, command))
                return false;
            forge(request);
            return true;
        });
        EXPECT_EQ(session.data.loadConfiguration({}), loadFailure(executionFailure)) << command;
        session.server.setFault({});
    }
}

TEST(ConfigTransfer, ALateAcknowledgeOfAnEarlierRequestEndsTheTransfer)
{
    Session session;
    for (const int command : {21, 17, 20}) {
        Request previous;
        session.server.setFault([&](FakeLogServer& server, const Request& request) {
            if (isAbout(request, command) && !previous.bytes.empty()) {
                server.acknowledge(previous, TransferServer::u64(1));
                return true;
            }
            previous = request;
            return false;
        });
        EXPECT_EQ(session.data.loadConfiguration({}),
                  command == 20 ? QString() : loadFailure(mismatch))
            << command;
        session.server.setFault({});
        EXPECT_EQ(session.data.loadConfiguration({}), QString());
    }
}

TEST(ConfigTransfer, WhatArrivesBetweenTwoTransfersIsDropped)
{
    Session session;
    const auto requests = session.server.peer().requests();
    // Late, doubled, and the longest that fits into a datagram.
    for (const Request& request : requests) {
        session.server.peer().acknowledge(request, TransferServer::u64(1));
        session.server.peer().acknowledge(request, TransferServer::u64(1));
    }
    session.server.peer().send(TransferServer::Bytes(60000, 0xAC), requests.front().sender);
    EXPECT_EQ(session.data.loadConfiguration({}), QString());
    EXPECT_EQ(session.data.saveConfiguration(), QString());
    EXPECT_EQ(session.server.configuration(), small);
}

TEST(ConfigTransfer, RandomAnswersNeverDoMoreThanEndATransfer)
{
    Session session;
    std::mt19937 random(11);
    for (int round = 0; round < 60; ++round) {
        session.loadAndSave([&](FakeLogServer& server, const Request& request) {
            if (random() % 3 != 0)
                return false;
            TransferServer::Bytes bytes(random() % 1500);
            for (std::uint8_t& byte : bytes)
                byte = static_cast<std::uint8_t>(random());
            // Half of them pass every check of the header.
            if (random() % 2 == 0) {
                bytes.resize(random() % 1389);
                bytes = FakeLogServer::packet(
                    acknowledgeOf(request.header(), PacketStatus::Success), bytes);
            }
            server.send(bytes, request.sender);
            return true;
        });
        session.server.setConfiguration(small);
    }
    EXPECT_EQ(session.data.loadConfiguration({}), QString());
    EXPECT_EQ(rowsOf(*session.data.tableModel()).size(), 2);
}

// Round trips.

namespace {

std::string nestedDocument(int levels)
{
    std::string json = R"({"parameters":{"level":"debug"}})";
    for (int i = 0; i < levels; ++i)
        json = R"({"#":")" + std::to_string(i) +
               R"(","attributes":[{"id":"module","op":"sub","value":"M"}],)"
               R"("parameters":{"level":"info"},"specializations":[)" +
               json + "]}";
    return json;
}

} // namespace

TEST(ConfigTransfer, DocumentsComeBackAsTheyWere)
{
    Session session;
    for (const std::string& text : {
             std::string("{}"),
             small,
             documentOf("none",
                        specialization("A", "info",
                                       R"(,"specializations":[)" + specialization("B", "err") +
                                           "," + specialization("C", "fatal") + "]")),
             std::string(R"({"#":"outside","specializations":[{"#":"\"quoted\" \\ \n\t"},)"
                         R"({"#":""},{"#":"1","#":"2"}]})"),
             std::string(R"({"version":"3","vendor":{"a.b":{"c d":["1","2"]}},"":"x"})"),
             std::string(R"({"parameters":{"level":"","destination":"file","file":"a\/b.log"}})"),
             std::string("{\"#\":\"Gr\xC3\xB6\xC3\x9F"
                         "e \xE2\x82\xAC \xF0\x9F\x8C\x8D\"}"),
             std::string(R"({"specializations":["",""],"attributes":["text",""]})"),
             std::string(R"({"parameters":{"level":"a"},"parameters":{"level":"b"}})"),
             nestedDocument(64),
         }) {
        session.server.setConfiguration(text);
        ASSERT_EQ(session.data.loadConfiguration({}), QString()) << text;
        session.server.setConfiguration("lost");
        ASSERT_EQ(session.data.saveConfiguration(), QString()) << text;
        EXPECT_EQ(session.server.configuration(), text);
    }
}

TEST(ConfigTransfer, WhatADocumentLosesIsThisAndNoMore)
{
    Session session;
    const std::vector<std::pair<std::string, std::string>> documents{
        // The kinds of values: all are texts.
        {R"({"a":1,"b":true,"c":null})", R"({"a":"1","b":"true","c":"null"})"},
        // Empty lists and objects: empty texts, which mean the same to the reader.
        {R"({"specializations":[],"parameters":{}})", R"({"specializations":"","parameters":""})"},
        // Objects in a list of another name: members named "+".
        {R"({"x":[{"a":"1"},{"b":"2"}]})", R"({"x":{"+":{"a":"1"},"+":{"b":"2"}}})"},
        {R"({"x":["1",["2"]]})", R"({"x":{"":"1","+":["2"]}})"},
        // Keys in what should be a list.
        {R"({"attributes":{"k":{"id":"module"}}})", R"({"attributes":[{"id":"module"}]})"},
        // An object with empty keys only: a list.
        {R"({"x":{"":"1","":"2"}})", R"({"x":["1","2"]})"},
        // White space, and how characters are written.
        {"\xEF\xBB\xBF{ \"a\" :\n\"\\u00e4/\" }", "{\"a\":\"\xC3\xA4\\/\"}"},
    };
    for (const auto& [before, after] : documents) {
        session.server.setConfiguration(before);
        ASSERT_EQ(session.data.loadConfiguration({}), QString()) << before;
        ASSERT_EQ(session.data.saveConfiguration(), QString()) << before;
        EXPECT_EQ(session.server.configuration(), after);
        // Lost once, and not more each time.
        ASSERT_EQ(session.data.loadConfiguration({}), QString());
        ASSERT_EQ(session.data.saveConfiguration(), QString());
        EXPECT_EQ(session.server.configuration(), after);
    }
}

namespace {

/// Does to the models what the editor can do, at random.
class RandomEditor
{
public:
    RandomEditor(LogConfigData& data, unsigned seed)
        : tree_(*data.treeModel())
        , table_(*data.tableModel())
        , random_(seed)
    {
    }

    void edit()
    {
        switch (below(7)) {
        case 0:
        case 1:
            table_.addModuleRow(below(table_.rowCount() + 1) - 1, text(), level());
            return;
        case 2:
            table_.modifyRow(below(table_.rowCount() + 1) - 1, text(), level());
            return;
        case 3:
            if (below(3) == 0)
                table_.removeModuleRow(table_.rowObject(below(table_.rowCount() + 1)));
            return;
        default:
            editTree();
            tree_.rebuildTable();
            return;
        }
    }

private:
    void editTree()
    {
        TreeNode* node = tree_.root();
        do {
            if (node->childCount() == 0)
                return;
            node = node->child(below(node->childCount()));
        } while (below(3) != 0);
        TreeNode* parent = node->parent();
        const int next = node->row() + 1;
        switch (node->nodeKind()) {
        case TreeNode::Comment:
        case TreeNode::ParameterField:
        case TreeNode::AttributeField:
            tree_.setValue(node, text());
            return;
        case TreeNode::ParameterSet:
            for (const char* key : {"level", "destination", "file"})
                if (below(2) == 0 && node->childWithKey(QLatin1String(key)) == nullptr)
                    append(node, key, text());
            return;
        case TreeNode::Attribute: {
            TreeNode* attribute = tree_.insertNode(next, QStringLiteral("+"), QString(), parent);
            append(attribute, "id", QString());
            return;
        }
        case TreeNode::Specialization:
            if (below(2) == 0)
                fill(tree_.insertNode(next, QStringLiteral("+"), QString(), parent));
            else if (node->childWithKey(QStringLiteral("specializations")) == nullptr)
                fill(append(append(node, "specializations", QString()), "+", QString()));
            return;
        default:
            if (below(4) == 0)
                tree_.removeRows(node->row(), 1, tree_.indexOf(parent));
            return;
        }
    }

    void fill(TreeNode* specialization)
    {
        append(specialization, "#", QStringLiteral("Comment"));
        TreeNode* attribute =
            append(append(specialization, "attributes", QString()), "+", QString());
        append(attribute, "id", QStringLiteral("module"));
        if (below(2) == 0)
            append(attribute, "value", QStringLiteral("[MODULE]"));
        append(append(specialization, "parameters", QString()), "level", QStringLiteral("info"));
    }

    TreeNode* append(TreeNode* parent, const char* key, const QString& value)
    {
        return tree_.insertNode(parent->childCount(), QLatin1String(key), value, parent);
    }

    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    QString level()
    {
        const QStringList names = LogConfigData::levelNames();
        return names[below(names.size())];
    }
    QString text()
    {
        static const QString alphabet =
            QString::fromUtf8("ab.\"\\/{}[]+# \n\xC3\xA4\xE2\x82\xAC\x01");
        QString made;
        for (int length = below(8); length > 0; --length)
            made.append(alphabet[below(alphabet.size())]);
        return made;
    }

    TreeModel& tree_;
    TableModel& table_;
    std::mt19937 random_;
};

} // namespace

TEST(ConfigTransfer, AnyTreeThatTheEditorCanBuildIsUploadedDownloadedAndEqual)
{
    Session session;
    LogConfigData other;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        session.server.setConfiguration(seed % 3 == 0 ? "{}" : small);
        ASSERT_EQ(session.data.loadConfiguration({}), QString());
        const QAbstractItemModelTester treeTester(
            session.data.treeModel(), QAbstractItemModelTester::FailureReportingMode::Fatal);
        const QAbstractItemModelTester tableTester(
            session.data.tableModel(), QAbstractItemModelTester::FailureReportingMode::Fatal);
        RandomEditor editor(session.data, seed);
        for (int step = 0; step < 25; ++step)
            editor.edit();
        ASSERT_EQ(session.data.saveConfiguration(), QString()) << seed;
        ASSERT_EQ(other.loadConfiguration({}), QString()) << seed;
        ASSERT_EQ(dumpOf(other.treeModel()->root()), dumpOf(session.data.treeModel()->root()))
            << seed;
        session.data.treeModel()->rebuildTable();
        ASSERT_EQ(rowsOf(*other.tableModel()), rowsOf(*session.data.tableModel())) << seed;
    }
}

TEST(ConfigTransfer, AFieldStraightInAListOfAttributesComesBackWithoutItsKey)
{
    Session session;
    TreeModel& tree = *session.data.treeModel();
    tree.insertNode(0, QStringLiteral("attributes"), QString(), tree.root());
    tree.insertNode(0, QStringLiteral("id"), QString(), tree.root()->child(0));
    ASSERT_EQ(session.data.saveConfiguration(), QString());
    EXPECT_EQ(session.server.configuration(), R"({"attributes":[""],)" + small.substr(1));
    ASSERT_EQ(session.data.loadConfiguration({}), QString());
    const TreeNode* list = session.data.treeModel()->root()->child(0);
    ASSERT_EQ(list->childCount(), 1);
    EXPECT_EQ(list->child(0)->nodeKind(), TreeNode::Attribute);
}
