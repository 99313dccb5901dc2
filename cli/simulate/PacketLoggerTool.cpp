#include "cli/simulate/PacketLoggerTool.h"

#include "cli/Errors.h"
#include "cli/Output.h"
#include "cli/simulate/CaptureStream.h"
#include "cli/simulate/Melody.h"
#include "cli/simulate/RemoteScenario.h"
#include "cli/simulate/VoicePackets.h"

namespace tessline::cli {

int runAsPacketLogger() {
  const VoicePackets voice = VoicePackets::encode(melody());
  Output output = Output::standard();
  CaptureStream stream(output, CaptureStream::realTime());
  RemoteScenario scenario({}, voice, stream);
  try {
    scenario.play({});
    output.finish();
  } catch (const OutputClosed&) {
    // The reader has seen enough, which is how every run of the tool ends.
  }
  return static_cast<int>(ExitCode::success);
}

}  // namespace tessline::cli
