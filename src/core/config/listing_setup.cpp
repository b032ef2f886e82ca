#include "config/listing_setup.h"

#include "config/app_config.h"
#include "config/catalogue.h"
#include "config/startup.h"

#include <QCoreApplication>

QString StandardNamesPath()
{
    return ProgramDataPath(QCoreApplication::applicationDirPath(), QStringLiteral("Names/standard.txt"));
}

ListingOptions ListingOptionsOf(const AppConfig &config)
{
    const MessageStrings &t = Texts();
    ListingOptions options;
    options.opening = t.StatusBarOpen;
    options.readingList = t.StatusBarReadList;
    options.additionalList = t.StatusBarAdditionalList;
    options.ready = t.StatusBarReady;
    options.notOpened = t.StatusBarNotOpened;
    options.damaged = t.StatusBarDamaged;
    options.malformed = t.StatusBarMalformed;
    options.stopped = t.StatusBarListingStopped;
    options.useLists = config.UseLists;
    options.listFiles = config.ListFiles;
    options.autoDetect = config.AutoDetectFile != 0;
    options.recoverNames = config.RecoverNames != 0;
    options.standardNames = StandardNamesPath();
    return options;
}
