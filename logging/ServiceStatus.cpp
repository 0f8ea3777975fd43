#include "logging/ServiceStatus.h"

#include "logging/PropertyTreeJson.h"

namespace zuLogging {

namespace {

// The members of the document.
constexpr char version_[] = "version";
constexpr char processId_[] = "process";
constexpr char uptime_[] = "uptime_ms";
constexpr char taken_[] = "taken";
constexpr char dropped_[] = "dropped";
constexpr char forwarded_[] = "forwarded";
constexpr char sinks_[] = "sinks";
constexpr char type_[] = "type";
constexpr char argument_[] = "argument";
constexpr char sent_[] = "sent";
constexpr char failed_[] = "failed";
constexpr char recorders_[] = "recorders";
constexpr char used_[] = "used";
constexpr char capacity_[] = "capacity";
constexpr char secondaryUsed_[] = "secondary_used";
constexpr char secondaryCapacity_[] = "secondary_capacity";
constexpr char replays_[] = "replays";
constexpr char ledger_[] = "ledger";
constexpr char transfers_[] = "transfers";
constexpr char limits_[] = "limits";
constexpr char counterSetKeys_[] = "counter_set_keys";

struct LedgerMember
{
    const char* name;
    LogCount count;
};

/// Those that a service raises.
constexpr LedgerMember ledgerMembers[] = {
    {"received", LogCount::Received},
    {"lost_in_socket", LogCount::LostInSocket},
    {"refused_size", LogCount::RefusedSize},
    {"refused_magic", LogCount::RefusedMagic},
    {"refused_length", LogCount::RefusedLength},
    {"refused_flags", LogCount::RefusedFlags},
    {"refused_command", LogCount::RefusedCommand},
    {"refused_request", LogCount::RefusedRequest},
    {"refused_container", LogCount::RefusedContainer},
    {"requests", LogCount::Requests},
    {"messages", LogCount::Messages},
    {"missing_numbers", LogCount::MissingNumbers},
    {"repeated_numbers", LogCount::RepeatedNumbers},
    {"unwanted", LogCount::Unwanted},
    {"sink_failed", LogCount::SinkFailed},
};

/// A member that is there has to be right.
template <class Value>
void read(const PropertyTree& tree, const char* name, Value& value)
{
    if (const auto child = tree.get_child_optional(name))
        value = child->get_value<Value>();
}

template <class Item, class ReadItem>
void readList(const PropertyTree& tree, const char* name, std::vector<Item>& list,
              const ReadItem& readItem)
{
    const auto children = tree.get_child_optional(name);
    if (!children)
        return;
    for (const auto& child : *children) {
        Item item{};
        readItem(child.second, item);
        list.push_back(std::move(item));
    }
}

} // namespace

std::string ServiceStatus::toJson() const
{
    PropertyTree document;
    document.put(version_, version);
    document.put(processId_, processId);
    document.put(uptime_, uptime);
    document.put(taken_, taken);
    document.put(dropped_, dropped);
    document.put(forwarded_, forwarded);

    PropertyTree sinkList;
    for (const Sink& sink : sinks) {
        PropertyTree tree;
        tree.put(type_, sink.type);
        tree.put(argument_, sink.argument);
        tree.put(sent_, sink.sent);
        tree.put(failed_, sink.failed);
        sinkList.push_back({"", std::move(tree)});
    }
    document.add_child(sinks_, sinkList);

    PropertyTree recorderList;
    for (const Recorder& recorder : recorders) {
        PropertyTree tree;
        tree.put(used_, recorder.used);
        tree.put(capacity_, recorder.capacity);
        tree.put(secondaryUsed_, recorder.secondaryUsed);
        tree.put(secondaryCapacity_, recorder.secondaryCapacity);
        tree.put(replays_, recorder.replays);
        recorderList.push_back({"", std::move(tree)});
    }
    document.add_child(recorders_, recorderList);

    if (ledger) {
        PropertyTree tree;
        for (const LedgerMember& member : ledgerMembers)
            tree.put(member.name, (*ledger)[member.count]);
        document.add_child(ledger_, tree);
    }
    document.put(transfers_, transfers);
    PropertyTree limitTree;
    limitTree.put(sinks_, limits.sinks);
    limitTree.put(replays_, limits.replays);
    limitTree.put(transfers_, limits.transfers);
    document.add_child(limits_, limitTree);

    std::string json = writePropertyTree(document, JsonForm::Compact);
    // A service makes this text between two messages: 65,536 keys take a tree a tenth of a second.
    json.pop_back();
    json.append(",\"").append(counterSetKeys_).append("\":[");
    for (const std::uint64_t key : counterSetKeys)
        json.append(1, '"').append(std::to_string(key)).append("\",");
    if (!counterSetKeys.empty())
        json.pop_back();
    return json.append("]}");
}

ServiceStatus ServiceStatus::fromJson(std::string_view json)
{
    const PropertyTree document = readPropertyTreeObject(json);
    ServiceStatus status;
    read(document, version_, status.version);
    read(document, processId_, status.processId);
    read(document, uptime_, status.uptime);
    read(document, taken_, status.taken);
    read(document, dropped_, status.dropped);
    read(document, forwarded_, status.forwarded);
    readList(document, sinks_, status.sinks, [](const PropertyTree& tree, Sink& sink) {
        read(tree, type_, sink.type);
        read(tree, argument_, sink.argument);
        read(tree, sent_, sink.sent);
        read(tree, failed_, sink.failed);
    });
    readList(document, recorders_, status.recorders, [](const PropertyTree& tree, Recorder& value) {
        read(tree, used_, value.used);
        read(tree, capacity_, value.capacity);
        read(tree, secondaryUsed_, value.secondaryUsed);
        read(tree, secondaryCapacity_, value.secondaryCapacity);
        read(tree, replays_, value.replays);
    });
    if (const auto tree = document.get_child_optional(ledger_)) {
        status.ledger.emplace();
        for (const LedgerMember& member : ledgerMembers)
            read(*tree, member.name, (*status.ledger)[member.count]);
    }
    read(document, transfers_, status.transfers);
    if (const auto tree = document.get_child_optional(limits_)) {
        read(*tree, sinks_, status.limits.sinks);
        read(*tree, replays_, status.limits.replays);
        read(*tree, transfers_, status.limits.transfers);
    }
    readList(document, counterSetKeys_, status.counterSetKeys,
             [](const PropertyTree& tree, std::uint64_t& key) {
                 key = tree.get_value<std::uint64_t>();
             });
    return status;
}

} // namespace zuLogging
