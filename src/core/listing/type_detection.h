// Guessing the type of a nameless stored file from its first three bytes.
#pragma once

#include <QByteArray>
#include <QString>

// The extension, with its point, of the first signature that the three bytes
// match exactly; empty when none does. Fewer than three bytes count as zeros.
QString DetectExtension(const QByteArray &firstBytes);
