// What a look at a whole map shows: its picture (the thumbnail of the file
// manager and `arcavera-cli thumbnail`) and, for a WarCraft III map, the
// details its war3map.w3i gives.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

#include "base/refusal.h"
#include "base/reporting.h"
#include "preview/image_reader.h"
#include "preview/map_details.h"

// Where maps keep their picture, in the order a thumbnail takes them: a
// WarCraft III map's preview, else its minimap, else a StarCraft II map's.
QList<QByteArray> MapPictureNames();

struct MapPicture {
    Refusal why = Refusal::None;  // NotStored: the archive holds none of the names
    QByteArray name;              // the stored name the picture came from
    ImageResult image;            // its decoding; a fault when it does not decode
};

// The first picture of MapPictureNames the archive at `path` stores, read in
// one child process of the engine and decoded within `limits`.
MapPicture ReadMapPicture(const QString &path, const ImageLimits &limits = {});

// The details of the WarCraft III map at `path`, its trigger strings
// resolved; none when it stores no war3map.w3i or it does not read (then
// `why`, when given, gets the reason in a few English words). A Cancel of
// `events`, when given, ends the read.
std::optional<MapDetails> ReadArchiveMapDetails(const QString &path, QString *why = nullptr,
                                                EventQueue *events = nullptr);

// Saves `image` as a PNG at `path`, scaled down (never up) to fit `fitSide`
// pixels each way when that is above 0. False when the file cannot be written.
bool SaveImagePng(const DecodedImage &image, const QString &path, int fitSide = 0);
