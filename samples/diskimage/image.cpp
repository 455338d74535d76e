#include "image.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>

#include "failure.h"

namespace diskimage {
namespace {

namespace fs = std::filesystem;

const std::uintmax_t SECTOR = 512;

/// The beginning of a qcow2 image; its numbers have their highest byte first.
class Qcow2Header {
  public:
    explicit Qcow2Header(const fs::path& file) {
        std::ifstream(file, std::ios::binary).read(bytes, sizeof bytes);
    }

    bool isValid() const {
        const std::uint64_t version = number(4, 4);
        return std::memcmp(bytes, "QFI\xfb", 4) == 0 && (version == 2 || version == 3);
    }

    bool needsOtherFiles() const {
        const bool hasBackingFile = number(8, 8) != 0;
        const bool hasDataFile = number(4, 4) >= 3 && (number(72, 8) & EXTERNAL_DATA) != 0;
        return hasBackingFile || hasDataFile;
    }

  private:
    static const std::uint64_t EXTERNAL_DATA = 0x4;

    std::uint64_t number(std::size_t offset, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = offset; i < offset + size; ++i) {
            value = value << 8 | static_cast<unsigned char>(bytes[i]);
        }
        return value;
    }

    char bytes[80] = {};
};

} // namespace

std::string nameOf(Format format) {
    return format == Format::RAW ? "raw" : "qcow2";
}

std::optional<Format> formatOf(const std::string& name) {
    for (const Format format : {Format::RAW, Format::QCOW2}) {
        if (name == nameOf(format)) {
            return format;
        }
    }
    return {};
}

Image imageIn(const fs::path& folder, const std::string& name, Format format) {
    return {folder / (name + "." + nameOf(format)), format};
}

std::optional<Image> findImage(const fs::path& folder, const std::string& name) {
    for (const Format format : {Format::RAW, Format::QCOW2}) {
        const Image image = imageIn(folder, name, format);
        std::error_code none;
        if (fs::is_regular_file(fs::symlink_status(image.file, none))) {
            return image;
        }
    }
    return {};
}

void checkImage(const Image& image) {
    if (image.format == Format::RAW) {
        // The tool would fill the last sector up, and a restored disk would be longer.
        if (fs::file_size(image.file) % SECTOR != 0) {
            throw Failure(DAMAGED, {image.file, nameOf(image.format)});
        }
        return;
    }
    const Qcow2Header header(image.file);
    if (!header.isValid()) {
        throw Failure(DAMAGED, {image.file, nameOf(image.format)});
    }
    if (header.needsOtherFiles()) {
        throw Failure(NEEDS_OTHER_FILES, {image.file});
    }
}

} // namespace diskimage
