#pragma once

/// Takes every pending window message of the calling thread off its queue and dispatches it, so that 3ds
/// Max's user interface stays alive while the farm link keeps its main thread. Never waits.
void pump_messages();
