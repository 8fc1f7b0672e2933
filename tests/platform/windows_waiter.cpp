#include "platform/windows/windows_api.h"

// Lives until somebody sets the event "kv_test_signal", a minute at the most.
int main() {
    const HANDLE signal = OpenEventA(SYNCHRONIZE, FALSE, "kv_test_signal");
    return WaitForSingleObject(signal, 60'000) == WAIT_OBJECT_0 ? 0 : 1;
}
