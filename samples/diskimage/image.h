// Disk images: files that hold a device.
#ifndef DISKIMAGE_IMAGE_H
#define DISKIMAGE_IMAGE_H

#include <filesystem>
#include <optional>
#include <string>

namespace diskimage {

enum class Format { RAW, QCOW2 };

/// "raw" or "qcow2": the name for the tool, and the extension of the file.
std::string nameOf(Format format);

/// The format of this name; nothing for another name.
std::optional<Format> formatOf(const std::string& name);

/// A file, and how it is to be read. Only its extension tells the format, never its content: who
/// writes to a raw disk can make it look like another format, and like one that names other files.
struct Image {
    std::filesystem::path file;
    Format format;
};

/// Where the device called name lies in a folder if it has this format.
Image imageIn(const std::filesystem::path& folder, const std::string& name, Format format);

/// The image that is there; links and whatever else is no plain file are none.
std::optional<Image> findImage(const std::filesystem::path& folder, const std::string& name);

/// Throws a Failure when the image is not one that can be copied on its own: when it is damaged or
/// not whole, or takes a part of its content from other files.
void checkImage(const Image& image);

} // namespace diskimage

#endif
