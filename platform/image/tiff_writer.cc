#include "platform/image/tiff_writer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

#include <tiffio.h>

namespace tarvel {
namespace {

constexpr double kPointsPerInch = 72;

// The file in memory, as the library's callbacks see it.
struct MemoryFile {
  Data bytes;
  std::size_t position = 0;
};

MemoryFile& fileOf(thandle_t handle) { return *static_cast<MemoryFile*>(handle); }

tmsize_t readBytes(thandle_t handle, void* buffer, tmsize_t size) {
  auto& file = fileOf(handle);
  const auto rest = file.bytes.size() - std::min(file.position, file.bytes.size());
  const auto count = std::min(rest, static_cast<std::size_t>(std::max<tmsize_t>(size, 0)));
  if (count > 0) std::memcpy(buffer, file.bytes.data() + file.position, count);
  file.position += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t writeBytes(thandle_t handle, void* buffer, tmsize_t size) {
  auto& file = fileOf(handle);
  const auto count = static_cast<std::size_t>(std::max<tmsize_t>(size, 0));
  if (count == 0) return 0;
  if (file.bytes.size() < file.position + count) file.bytes.resize(file.position + count);
  std::memcpy(file.bytes.data() + file.position, buffer, count);
  file.position += count;
  return size;
}

toff_t seekBytes(thandle_t handle, toff_t offset, int whence) {
  auto& file = fileOf(handle);
  const auto start = whence == SEEK_CUR   ? file.position
                     : whence == SEEK_END ? file.bytes.size()
                                          : std::size_t{0};
  file.position = start + static_cast<std::size_t>(offset);
  return file.position;
}

int closeBytes(thandle_t) { return 0; }
toff_t sizeOfBytes(thandle_t handle) { return fileOf(handle).bytes.size(); }

using Tiff = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

bool setTags(TIFF* tiff, const Raster& raster, double dotsPerInch) {
  const std::uint16_t associated = EXTRASAMPLE_ASSOCALPHA;
  return TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, 0) == 1 &&
         TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, raster.width) == 1 &&
         TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, raster.height) == 1 &&
         TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8) == 1 &&
         TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE) == 1 &&
         TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) == 1 &&
         TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) == 1 &&
         TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 4) == 1 &&
         TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, raster.height) == 1 &&
         TIFFSetField(tiff, TIFFTAG_XRESOLUTION, dotsPerInch) == 1 &&
         TIFFSetField(tiff, TIFFTAG_YRESOLUTION, dotsPerInch) == 1 &&
         TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
         TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) == 1 &&
         TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &associated) == 1;
}

}  // namespace

Data tiffData(const Raster& raster, double widthInPoints) {
  const double dotsPerInch =
      widthInPoints > 0 ? kPointsPerInch * raster.width / widthInPoints : kPointsPerInch;
  MemoryFile file;
  Data pixels = raster.pixels;  // the library takes its input as writable
  {
    const Tiff tiff(TIFFClientOpen("icon", "wl", &file, readBytes, writeBytes, seekBytes,
                                   closeBytes, sizeOfBytes, nullptr, nullptr),
                    TIFFClose);
    if (!tiff || !setTags(tiff.get(), raster, dotsPerInch)) return {};
    const auto size = static_cast<tmsize_t>(pixels.size());
    if (TIFFWriteEncodedStrip(tiff.get(), 0, pixels.data(), size) != size) return {};
    if (TIFFWriteDirectory(tiff.get()) != 1) return {};
  }
  return std::move(file.bytes);
}

}  // namespace tarvel
