// Dependencies between sub-commands, and building a command. The meaning is the driver's.
#include "command/DriverCall.h"
#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

ndk::ScopedAStatus TovanDravik::cmd_setDependencyEdge(int64_t in_dravik_id, int64_t in_cmd_id,
                                                      int64_t in_predecessor, int64_t in_successor,
                                                      int32_t* _aidl_return) {
    ScopedTrace trace("cmd_setDependencyEdge");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    // Every look-up is made before any result is judged.
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    dravik_subcmd* predecessor = getDravikSubCmd(dravik_id, static_cast<uint64_t>(in_predecessor));
    dravik_subcmd* successor = getDravikSubCmd(dravik_id, static_cast<uint64_t>(in_successor));
    *_aidl_return = callDriver(
            cmd != nullptr && predecessor != nullptr && successor != nullptr,
            "cmd_setDependencyEdge failed due to cmd or predecessor or successor nullptr",
            "dravikCmd_setDependencyEdge failed errno(%d/%s)",
            [&] { return dravikCmd_setDependencyEdge(cmd, predecessor, successor); },
            [&] {
                DRAVIK_LOGI("cmd_setDependencyEdge dravik_id=%lu, cmd_id=%lu, ret:%d", dravik_id,
                            cmd_id, 0);
            });
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_setDependencyTightly(int64_t in_dravik_id, int64_t in_cmd_id,
                                                         int64_t in_predecessor,
                                                         int64_t in_successor, int64_t in_mem_id,
                                                         int32_t* _aidl_return) {
    ScopedTrace trace("cmd_setDependencyTightly");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    dravik_subcmd* predecessor = getDravikSubCmd(dravik_id, static_cast<uint64_t>(in_predecessor));
    // Deliberately asymmetric: the successor is a command, and the driver is handed the memory
    // table's record itself, not the driver memory inside it.
    dravik_cmd* successor = getDravikCmd(dravik_id, static_cast<uint64_t>(in_successor));
    MemInfo* mem = getDravikMem(dravik_id, static_cast<uint64_t>(in_mem_id));
    *_aidl_return = callDriver(
            cmd != nullptr && predecessor != nullptr && successor != nullptr && mem != nullptr,
            "cmd_setDependencyTightly failed due to cmd or predecessor or successor or mem nullptr",
            "cmd_setDependencyTightly failed errno(%d/%s)",
            [&] { return dravikCmd_setDependencyTightly(cmd, predecessor, successor, mem); },
            [&] {
                DRAVIK_LOGI("cmd_setDependencyTightly dravik_id=%lu, cmd_id=%lu, ret:%d", dravik_id,
                            cmd_id, 0);
            });
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_setDependencyPack(int64_t in_dravik_id, int64_t in_cmd_id,
                                                      int64_t in_main_sub_cmd,
                                                      int64_t in_appendix_sub_cmd,
                                                      int32_t* _aidl_return) {
    ScopedTrace trace("cmd_setDependencyPack");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    dravik_subcmd* main_sub_cmd =
            getDravikSubCmd(dravik_id, static_cast<uint64_t>(in_main_sub_cmd));
    dravik_subcmd* appendix_sub_cmd =
            getDravikSubCmd(dravik_id, static_cast<uint64_t>(in_appendix_sub_cmd));
    *_aidl_return = callDriver(
            cmd != nullptr && main_sub_cmd != nullptr && appendix_sub_cmd != nullptr,
            "cmd_setDependencyPack failed due to cmd or main_sub_cmd or appendix_sub_cmd nullptr",
            "cmd_setDependencyPack failed errno(%d/%s)",
            [&] { return dravikCmd_setDependencyPack(cmd, main_sub_cmd, appendix_sub_cmd); },
            [&] {
                DRAVIK_LOGI("cmd_setDependencyPack dravik_id=%lu, cmd_id=%lu, ret:%d", dravik_id,
                            cmd_id, 0);
            });
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_build(int64_t in_dravik_id, int64_t in_cmd_id,
                                          int32_t* _aidl_return) {
    ScopedTrace trace("cmd_build");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t cmd_id = static_cast<uint64_t>(in_cmd_id);
    dravik_cmd* cmd = getDravikCmd(dravik_id, cmd_id);
    *_aidl_return = callDriver(
            cmd != nullptr, "cmd_build failed due to cmd nullptr",
            "dravikCmd_build failed errno(%d/%s)", [&] { return dravikCmd_build(cmd); },
            [&] {
                DRAVIK_LOGI("cmd_build dravik_id=%lu, cmd_id=%lu, ret=%d", dravik_id, cmd_id, 0);
            });
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
