// A logging configuration as the service takes it: what the compiled rules decide against a plain
// walk through the document.

#include "fuzz/FuzzCheck.h"
#include "logging/LogSvcError.h"
#include "service/LoggingRules.h"
#include "service/ServiceConfiguration.h"

#include <QStringList>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace zuLogging;
using fuzz::check;

namespace {

struct Decision
{
    std::string level = "debug";
    std::string destination = "logsvc";
    std::string file;
};

bool isLeftOpen(const PropertyTree& node)
{
    return node.empty() && node.data().empty();
}

QString folded(const std::string& text)
{
    return QString::fromStdString(text).toCaseFolded();
}

bool plainMatch(const PropertyTree& attribute, const QString& module, const QString& process)
{
    std::optional<std::string> id;
    std::string op = "eq";
    std::string value;
    for (const auto& [key, node] : attribute) {
        if (isLeftOpen(node))
            continue;
        if (key == "id")
            id = node.data();
        else if (key == "op")
            op = node.data();
        else if (key == "value")
            value = node.data();
    }
    if (!id || value.empty())
        return false;
    const QString name = (*id == "module" ? module : process).toCaseFolded();
    if (op == "eq")
        return name == folded(value);
    if (op == "sub")
        return name.contains(folded(value));
    for (const QString& item : QString::fromStdString(value).split(QLatin1Char(',')))
        if (!item.trimmed().isEmpty() && item.trimmed().toCaseFolded() == name)
            return true;
    return false;
}

void plainDecide(const PropertyTree& scope, bool isGlobal, const QString& module,
                 const QString& process, Decision& decision)
{
    for (const auto& [key, node] : scope)
        if (key == "attributes" && !isGlobal)
            for (const auto& attribute : node)
                if (!plainMatch(attribute.second, module, process))
                    return;
    for (const auto& [key, node] : scope) {
        if (key != "parameters")
            continue;
        for (const auto& [name, parameter] : node) {
            if (name == "level")
                decision.level = parameter.data();
            else if (name == "destination")
                decision.destination = parameter.data();
            else if (name == "file")
                decision.file = parameter.data();
        }
    }
    for (const auto& [key, node] : scope)
        if (key == "specializations")
            for (const auto& specialization : node)
                plainDecide(specialization.second, false, module, process, decision);
}

void collectNames(const PropertyTree& tree, QStringList& names)
{
    for (const auto& [key, node] : tree) {
        if (key == "value" && names.size() < 12)
            names += QString::fromStdString(node.data()).split(QLatin1Char(','));
        collectNames(node, names);
    }
}

void compare(const LoggingRules& rules, const PropertyTree& document, const QString& module,
             const QString& process)
{
    Decision expected;
    plainDecide(document, true, module, process, expected);
    const LoggingDecision decision = rules.decide(module, process);
    check(logLevelNameText(static_cast<std::uint64_t>(decision.level)).toStdString() ==
              expected.level,
          "another level is decided");
    const char* const destinations[] = {"none", "logsvc", "file"};
    check(destinations[static_cast<int>(decision.destination)] == expected.destination,
          "another destination is decided");
    check(decision.file == LoggingDecision::noFile
              ? expected.file.empty()
              : rules.files().at(decision.file) == expected.file,
          "another file is decided");
    for (std::uint64_t level = 0; level < 130; ++level) {
        const std::uint64_t own = static_cast<std::uint64_t>(decision.level);
        bool lets = own != 0;
        for (std::uint64_t bit = 1; bit < 64; bit *= 2) {
            if ((level & bit) == 0)
                continue;
            lets = lets && bit <= own;
            break;
        }
        check(decision.lets(level) == lets, "a level is let through for one way only");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silenceTrace();
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    ServiceConfiguration configuration;
    bool isTaken = true;
    try {
        configuration.replace(text);
        check(*configuration.current().text == text, "the text that is taken is another one");
    } catch (const std::exception&) {
        isTaken = false;
        check(*configuration.current().text == ServiceConfiguration::defaultText(),
              "a text that is refused replaces the old one");
    }

    PropertyTree document;
    std::optional<LoggingRules> rules;
    try {
        document = readPropertyTreeObject(text);
        rules.emplace(document);
    } catch (const boost::property_tree::ptree_error&) {
    } catch (const LogSvcError&) {
    }
    check(rules || !isTaken, "the service takes what cannot be read");
    if (!rules)
        return 0;

    QStringList names{QString(), QStringLiteral("Motion"), QStringLiteral("motion.EXE")};
    collectNames(document, names);
    for (const QString& name : names) {
        compare(*rules, document, name, QString());
        compare(*rules, document, QString(), name.toUpper());
        compare(*rules, document, name.trimmed(), name.trimmed());
    }
    for (std::size_t i = 1; i < rules->moduleNames().size(); ++i)
        check(rules->moduleNames()[i - 1] < rules->moduleNames()[i], "names are not sorted");
    return 0;
}
