#include <algorithm>
#include <array>

#include <scsi/sg.h>

#include "fuzz/fuzz_input.h"
#include "platform/linux/disks/ata_pass_through.h"
#include "smart/ata_data.h"

// Identify and S.M.A.R.T. blocks, and the sense data of an answer of any length.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvel;
  std::array<std::uint8_t, 512> block{};
  std::copy_n(data, std::min(size, block.size()), block.begin());
  VerifyIdentifyData(block);
  modelName(block);
  supportsSmart(block);
  attributeTemperature(block);
  sg_io_hdr header{};
  if (size > 4) {
    header.status = data[0];
    header.host_status = data[1];
    header.driver_status = data[2];
    header.sb_len_wr = data[3];
    judgeAnswer(header, {data + 4, size - 4});
  }
  return 0;
}
