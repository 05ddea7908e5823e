#include "programs/icon/svg_library.h"

#include <filesystem>
#include <system_error>

#include <dlfcn.h>

#include "programs/icon/svg_reader.h"

namespace tarvel {
namespace {

std::filesystem::path libraryPath() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).replace_filename("tarvel-svg.so");
}

}  // namespace

// It stays in memory when it is closed: GLib, below it, keeps state that must outlive an unloading.
SVGLibrary::SVGLibrary()
    : handle_(::dlopen(libraryPath().c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)) {}

SVGLibrary::~SVGLibrary() {
  if (handle_ != nullptr) ::dlclose(handle_);
}

std::optional<Raster> SVGLibrary::draw(std::string_view file, std::uint32_t side) const {
  void* const symbol = handle_ != nullptr ? ::dlsym(handle_, kDrawSVGName) : nullptr;
  if (symbol == nullptr) return std::nullopt;
  Raster raster{};
  const bool drawn = reinterpret_cast<DrawSVG*>(symbol)(file.data(), file.size(), side, &raster);
  return drawn ? std::optional(std::move(raster)) : std::nullopt;
}

}  // namespace tarvel
