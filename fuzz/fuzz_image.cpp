// libFuzzer target: the input as an image stored as a .tga, decoded under
// small limits. The first bytes choose the BLP, DDS, PNG, JPEG or BMP
// reader; without any of their magics the name picks the TGA reader. A
// decoded image must hold exactly its width times its height in pixels,
// within the limits; a refused one none.
#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>

#include "preview/image_reader.h"

namespace {

void DropQtMessages(QtMsgType, const QMessageLogContext &, const QString &) {}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Qt's readers warn at every damaged file; the fuzzer's own output is what counts.
    qInstallMessageHandler(DropQtMessages);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const ImageLimits limits{1024, qint64(4) << 20};
    const ImageResult result = DecodeImage(bytes, QStringLiteral("Textures\\x.tga"), limits);
    const DecodedImage &image = result.image;
    const bool sound = result.Decoded() ? image.pixels.size() == std::size_t(image.width) * image.height &&
                                              image.width <= limits.maxSide && image.height <= limits.maxSide
                                        : image.pixels.empty() && !result.detail.isEmpty();
    if (!sound) __builtin_trap();
    return 0;
}
