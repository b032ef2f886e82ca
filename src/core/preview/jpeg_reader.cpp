// The JPEG of a BLP1 texture, read with libjpeg itself. Blizzard's encoder
// stores blue, green, red and alpha as four channels with no colour
// transform; a general reader takes four channels for CMYK and mixes them
// into three colours, losing the alpha. Here each channel is kept as stored.
#include <climits>
#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

#include "preview/image_decoding.h"

namespace {

// Progressive files of thousands of tiny scans take minutes to decode; real
// ones have about ten.
constexpr int kJpegMaxScans = 256;

// libjpeg's error manager, with where to go back to: libjpeg calls
// error_exit on any fatal error and it must not return.
struct JpegFailure {
    jpeg_error_mgr manager;  // first, so that libjpeg's pointer to it is one to the whole
    std::jmp_buf back;
    char message[JMSG_LENGTH_MAX];
};

struct JpegJob {
    jpeg_decompress_struct info;
    JpegFailure failure;
    jpeg_progress_mgr progress;
};

[[noreturn]] void JpegErrorExit(j_common_ptr info)
{
    auto *failure = reinterpret_cast<JpegFailure *>(info->err);
    failure->manager.format_message(info, failure->message);
    std::longjmp(failure->back, 1);
}

// Warnings of corrupt data: the decoding goes on, and nothing is printed.
void JpegDropMessage(j_common_ptr) {}

void JpegCountScans(j_common_ptr info)
{
    if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number <= kJpegMaxScans) return;
    auto *failure = reinterpret_cast<JpegFailure *>(info->err);
    std::snprintf(failure->message, sizeof failure->message, "more than %d scans", kJpegMaxScans);
    std::longjmp(failure->back, 1);
}

// The two steps that call into libjpeg each hold their own setjmp, and no
// object with a destructor: a longjmp would pass over it.
bool JpegReadHeader(JpegJob &job, const unsigned char *data, std::size_t size, long memoryLimit)
{
    if (setjmp(job.failure.back) != 0) return false;
    jpeg_create_decompress(&job.info);
    job.info.mem->max_memory_to_use = memoryLimit;
    job.progress.progress_monitor = JpegCountScans;
    job.info.progress = &job.progress;
    jpeg_mem_src(&job.info, data, static_cast<unsigned long>(size));
    jpeg_read_header(&job.info, TRUE);
    return true;
}

// Decodes the rows into `pixels`, `rowBytes` apart, as many bytes a pixel as
// `components`.
bool JpegReadRows(JpegJob &job, int components, unsigned char *pixels, std::size_t rowBytes)
{
    if (setjmp(job.failure.back) != 0) return false;
    jpeg_start_decompress(&job.info);
    if (job.info.output_components != components || job.info.output_width != job.info.image_width ||
        job.info.output_height != job.info.image_height) {
        std::snprintf(job.failure.message, sizeof job.failure.message, "unexpected output layout");
        return false;
    }
    while (job.info.output_scanline < job.info.output_height) {
        JSAMPROW row = pixels + rowBytes * job.info.output_scanline;
        jpeg_read_scanlines(&job.info, &row, 1);
    }
    // The rest of the data, past the last row, is not read: it may be damaged
    // without harm to the image.
    return true;
}

// False when libjpeg fails, its message in job.failure; true otherwise, with
// the image in `result` or its refusal for the limits.
bool JpegDecode(JpegJob &job, const QByteArray &jpeg, bool keepAlpha, const ImageLimits &limits, ImageResult &result)
{
    // A progressive file keeps all its coefficients, two bytes a channel a
    // pixel, besides the image: twice the image for four channels.
    const long memoryLimit = static_cast<long>(std::min<qint64>(limits.maxBytes, LONG_MAX / 4) * 2 + (qint64(16) << 20));
    if (!JpegReadHeader(job, reinterpret_cast<const unsigned char *>(jpeg.constData()), std::size_t(jpeg.size()), memoryLimit))
        return false;
    // The channels as stored: one grey, three of YCbCr turned back into the
    // three stored, or four taken as they are.
    const int components = job.info.num_components;
    if (components == 1) {
        job.info.out_color_space = JCS_GRAYSCALE;
    } else if (components == 3) {
        job.info.out_color_space = JCS_RGB;
    } else if (components == 4) {
        job.info.jpeg_color_space = JCS_CMYK;
        job.info.out_color_space = JCS_CMYK;
    } else {
        std::snprintf(job.failure.message, sizeof job.failure.message, "%d channels", components);
        return false;
    }
    // The JPEG's own size may differ from the BLP header's: it is the one decoded.
    if (!AllocateImage(result, job.info.image_width, job.info.image_height, limits)) return true;
    DecodedImage &image = result.image;
    // Each row is decoded into the bytes of its own pixels, which hold four
    // bytes a pixel, then widened in place from its end, so that no pixel is
    // overwritten before it is read.
    auto *bytes = reinterpret_cast<unsigned char *>(image.pixels.data());
    const std::size_t rowBytes = std::size_t(image.width) * 4;
    if (!JpegReadRows(job, components, bytes, rowBytes)) return false;
    const std::uint32_t opaque = 0xFF000000;
    for (std::size_t y = 0; y < image.height; ++y) {
        const unsigned char *row = bytes + rowBytes * y;
        std::uint32_t *pixel = image.pixels.data() + std::size_t(image.width) * y;
        for (std::size_t x = image.width; x-- > 0;) {
            const unsigned char *c = row + x * std::size_t(components);
            if (components == 1)
                pixel[x] = opaque | std::uint32_t(c[0]) * 0x010101;
            else
                pixel[x] = (components == 4 && keepAlpha ? std::uint32_t(c[3]) << 24 : opaque) |
                           std::uint32_t(c[2]) << 16 | std::uint32_t(c[1]) << 8 | c[0];
        }
    }
    return true;
}

}  // namespace

bool DecodeBlpJpegPart(const QByteArray &jpeg, bool keepAlpha, const ImageLimits &limits, ImageResult &result)
{
    JpegJob job{};  // zeroed, so that destroying it is safe even when its creation failed
    job.info.err = jpeg_std_error(&job.failure.manager);
    job.failure.manager.error_exit = JpegErrorExit;
    job.failure.manager.output_message = JpegDropMessage;
    const bool decoded = JpegDecode(job, jpeg, keepAlpha, limits, result);
    jpeg_destroy_decompress(&job.info);
    if (decoded) return result.Decoded();
    return RefuseImage(result, ImageFault::Damaged,
                       QStringLiteral("JPEG part does not decode (%1)").arg(QString::fromLatin1(job.failure.message)));
}
