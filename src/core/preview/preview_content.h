// What the preview shows of a stored file, decided from its name and bytes:
// text (highlighted when it is a script), an image, a sound to play, the
// details of a map, or the first bytes as hex. Made off the window's thread:
// nothing here touches a widget.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

#include "config/catalogue.h"
#include "preview/image_reader.h"
#include "preview/map_details.h"
#include "preview/stored_read.h"
#include "preview/text_preview.h"

enum class PreviewKind { Message, Text, Image, Sound, Map, Hex };

struct PreviewContent {
    PreviewKind kind = PreviewKind::Message;
    QString text;         // Text: the file as text; Hex: the dump; Message: what is said instead
    CodeLanguage language = CodeLanguage::None;  // Text
    DecodedImage image;   // Image
    QByteArray sound;     // Sound: the bytes to play
    std::optional<MapDetails> map;  // Map
    QString note;         // the line under it: "512 × 512 · BLP2 DXT5", "the first 64 KB shown"
};

// The sound formats the preview plays, by their first bytes: "WAV", "MP3",
// "Ogg"; empty for other bytes.
QString SoundFormat(const QByteArray &bytes);

// What the preview shows for `read`, the stored file `storedName` as the
// engine read it, in the words of `texts` (a copy of the catalogue's, for a
// look made off the window's thread while a language may be loading).
PreviewContent MakePreview(const QString &storedName, const StoredBytes &read, const MessageStrings &texts,
                           const ImageLimits &limits = {});

// A preview that says `message` instead of showing the file.
PreviewContent MessagePreview(const QString &message);

// The details of a map as a preview; without them, why not.
PreviewContent MapPreview(const std::optional<MapDetails> &details, const QString &why, const MessageStrings &texts);

// The lines of a map's details, label and value, as the preview, the
// archive's properties and arcavera-cli info show them; the labels are the
// catalogue's when `labels` is set, else the command line's English keys.
QList<std::pair<QString, QString>> MapDetailLines(const MapDetails &details, bool catalogueLabels);
