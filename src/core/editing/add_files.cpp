#include "editing/add_files.h"

#include <QDataStream>

#include <algorithm>
#include <string>

#include "boundary/child_work.h"
#include "config/app_config.h"
#include "config/catalogue.h"
#include "editing/archive_update.h"
#include "base/paths.h"
#include "mpq/mpq_library.h"
#include "base/text_encoding.h"

namespace {

// The first rule for the extension, or none. Entry 0 of the rules is the
// spare and never matches. A rule "." matches names without a point, whose
// extension is empty; a rule with no text at all matches nothing.
const ExtensionRule *RuleFor(const QString &extension, const QVector<ExtensionRule> &rules)
{
    const QString wanted = extension.toLower();
    for (qsizetype n = 1; n < rules.size(); ++n) {
        const QString &ruleExtension = rules[n].Extension;
        if (!ruleExtension.isEmpty() && ruleExtension.mid(1).toLower() == wanted) return &rules[n];
    }
    return nullptr;
}

}  // namespace

AddMethod ChooseAddMethod(const QString &name, const AppConfig &config)
{
    const std::uint32_t base = mpq::MAFA_REPLACE_EXISTING | (config.Encrypt ? mpq::MAFA_ENCRYPT : 0);
    const std::uint32_t compressed = base | mpq::MAFA_COMPRESS;
    // The settings keep the list index of the level (0..10); the engine takes
    // -1 (its default) to 9. A hand-edited index is held to that range.
    const std::int32_t deflateLevel = std::clamp<std::int32_t>(config.DefaultDeflateLevel - 1, -1, 9);
    const AddMethod standard{AddMethod::File, compressed, mpq::MAFA_COMPRESS_STANDARD, 0};
    const AddMethod deflate{AddMethod::File, compressed, mpq::MAFA_COMPRESS_DEFLATE, deflateLevel};

    const ExtensionRule *rule = RuleFor(GetExtension(name), config.ExtensionRules);
    if (rule == nullptr) return config.DefaultCompression == 0 ? standard : deflate;
    switch (rule->CompressionType) {
    case 0: return AddMethod{AddMethod::File, base, mpq::MAFA_COMPRESS_NONE, 0};
    case 1: return standard;
    case 2: return deflate;  // a deflate rule has no level of its own
    case 3: return AddMethod{AddMethod::Wave, compressed, 0, rule->CompressionLevel};
    default: return AddMethod{};  // a type this program does not know leaves the file out
    }
}

namespace {

// The add itself, in this process.
AddReport AddHere(const QString &archivePath, const QStringList &names, const QString &sourceFolder,
                  const QByteArray &prefix, const AppConfig &config, StatusPanel &status, EventQueue &events,
                  int newFormat, std::uint16_t locale)
{
    AddReport report;
    mpq::Update update = OpenArchiveForUpdate(archivePath, config.DefaultMaxFiles, report.archive, newFormat);
    if (!update) return report;

    for (const QString &name : names) {
        // The user may stop the batch between two files; what went in stays.
        if (events.Cancelled()) {
            report.cancelled = true;
            break;
        }
        // The file is announced by the name it is stored under.
        const QByteArray storedName = prefix + PathBytes(StoredNameFromRelativePath(name));
        status.SetStatusText(ReplaceValue(Texts().StatusBarAdd, DecodeBytes(storedName)));
        const AddMethod method = ChooseAddMethod(name, config);
        if (method.kind == AddMethod::Skip) {
            report.refused.append({name, Refusal::UnknownCompression});
        } else {
            // A folder ending in "/" gives "//", which the file system reads as one.
            const std::string source = PathBytes(sourceFolder + QLatin1Char('/') + name).toStdString();
            const std::string stored = mpq::LocaleVariant(storedName.toStdString(), locale);
            const bool added =
                method.kind == AddMethod::Wave
                    ? mpq::MpqAddWaveToArchive(update.get(), source, stored, method.flags,
                                               static_cast<std::uint32_t>(method.level))
                    : mpq::MpqAddFileToArchiveEx(update.get(), source, stored, method.flags,
                                                 method.compressionType, method.level);
            // A refused file (missing, unreadable, an empty entry) does not stop the batch.
            if (added)
                ++report.added;
            else
                report.refused.append({name, Refusal::EngineRefused});
        }
        events.Yield();
    }
    // The batch goes in whole or not at all: when the archive cannot be
    // written at its close, the engine puts it back as it was.
    if (!update.Close()) {
        report.archive = Refusal::ArchiveNotWritten;
        report.added = 0;
        report.refused.clear();
        for (const QString &name : names)
            report.refused.append({name, ChooseAddMethod(name, config).kind == AddMethod::Skip
                                             ? Refusal::UnknownCompression
                                             : Refusal::ArchiveNotWritten});
    }
    return report;
}

}  // namespace

// A report through a stream: how it comes back from the child.
QDataStream &operator<<(QDataStream &out, const AddReport &report)
{
    return out << report.archive << report.added << report.refused << report.cancelled;
}

QDataStream &operator>>(QDataStream &in, AddReport &report)
{
    return in >> report.archive >> report.added >> report.refused >> report.cancelled;
}

// The engine works in a child process: an archive that takes it down is
// left as it was, and the add is refused as damaged.
AddReport AddFiles(const QString &archivePath, const QStringList &names, const QString &sourceFolder,
                   const QByteArray &prefix, const AppConfig &config, StatusPanel &status, EventQueue &events,
                   int newFormat, std::uint16_t locale)
{
    return UpdateInChild<AddReport>(archivePath, names, status, events, [&](ChildPorts &ports) {
        return AddHere(archivePath, names, sourceFolder, prefix, config, ports, ports, newFormat, locale);
    });
}
