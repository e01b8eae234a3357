// The figures across processes: a call to the service in another process beside a raw socket
// ping-pong of the same payload, and the cleanup after a client's crash.
#include <signal.h>

#include <cstdio>

#include "RatioReporter.h"
#include "ServingProcesses.h"
#include "SocketPingPong.h"

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);  // a serving process that died is reported, not fatal
    bench::ServingProcesses processes;
    const size_t bytes = processes.remoteTrivialCommand().requestBytes();
    std::printf("cmd_run request: %zu bytes\n", bytes);
    bench::registerSocketPingPong(bytes);
    const int result =
            bench::runWithRatios(argc, argv,
                                 {{"across processes: cmd_run vs raw socket ping-pong",
                                   "BM_CrossProcessCmdRun", "BM_SocketPingPong", 2.0}},
                                 {{"crash cleanup: 100 sessions of 100 objects",
                                   "BM_CrashCleanup/100/100/iterations:5/manual_time", 1.0}});
    std::fflush(stdout);
    return result;
}
