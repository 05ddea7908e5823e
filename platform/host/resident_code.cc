#include "platform/host/resident_code.h"

#include <cstddef>
#include <cstdint>

#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

namespace tarvel {
namespace {

// Segments that nobody may write have nothing that is not in their file; relocated constants are
// in those that could be written (elf(5), PT_GNU_RELRO).
int releaseSegments(dl_phdr_info* object, std::size_t, void*) {
  const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const auto& segment = object->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0) continue;
    const std::uintptr_t start = object->dlpi_addr + segment.p_vaddr;
    const std::uintptr_t firstPage = start & ~(page - 1);
    auto* const address = reinterpret_cast<void*>(firstPage);  // NOLINT(performance-no-int-to-ptr)
    ::madvise(address, start + segment.p_memsz - firstPage, MADV_DONTNEED);
  }
  return 0;
}

}  // namespace

void releaseResidentCode() { ::dl_iterate_phdr(releaseSegments, nullptr); }

}  // namespace tarvel
