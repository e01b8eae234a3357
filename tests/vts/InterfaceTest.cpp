// Registration, the interface version, and the result convention for ids that resolve to nothing:
// an OK status with -1 (or 0 for a value) from every method that reports through its result, an
// exception from the creating methods and the batch run-information queries. After each bad call
// the service goes on serving.
#include <android/binder_manager.h>

#include <functional>

#include "TovanDravikHalTest.h"

namespace tessaro_vts {
namespace {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMD_PARAMS_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMD_RUNINFO_PARAMS_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMDBUF_INFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_SUBCMD_PARAMS_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_SUBCMD_RUNINFO_PARAMS_HD;

TEST_P(TovanDravikHalTest, IsRegisteredAsDeclaredUnderDefault) {
    EXPECT_TRUE(AServiceManager_isDeclared(GetParam().c_str()));
    const std::string default_instance = std::string(ITovanDravik::descriptor) + "/default";
    EXPECT_TRUE(AServiceManager_isDeclared(default_instance.c_str()));
    ndk::SpAIBinder binder(AServiceManager_checkService(default_instance.c_str()));
    ASSERT_NE(binder.get(), nullptr) << default_instance << " is not registered";
    EXPECT_EQ(ITovanDravik::fromBinder(binder)->asBinder(), service->asBinder())
            << "one service object serves the declared instance";
}

TEST_P(TovanDravikHalTest, AnswersFrozenVersionFive) {
    int32_t version = 0;
    ASSERT_TRUE(isOk(service->getInterfaceVersion(&version)));
    EXPECT_EQ(version, 5);
    std::string hash;
    ASSERT_TRUE(isOk(service->getInterfaceHash(&hash)));
    EXPECT_EQ(hash, ITovanDravik::hash);
    EXPECT_NE(hash, "notfrozen");
}

// A method that reports through an int32 result, given the session id and the id of its object.
struct ResultCall {
    const char* method;
    std::function<ndk::ScopedAStatus(ITovanDravik&, int64_t session, int64_t id, int32_t* ret)>
            call;
};

TEST_P(TovanDravikHalTest, UnknownIdsYieldMinusOneWithOkStatus) {
    const int64_t session = openSession();
    const std::vector<ResultCall> calls = {
            {"cmd_build", [](auto& s, auto d, auto i, auto* r) { return s.cmd_build(d, i, r); }},
            {"cmd_cachedAndRun",
             [](auto& s, auto d, auto i, auto* r) { return s.cmd_cachedAndRun(d, i, {}, {}, r); }},
            {"cmd_cachedAndRunWithType",
             [](auto& s, auto d, auto i, auto* r) {
                 return s.cmd_cachedAndRunWithType(d, i, {}, {}, 0, r);
             }},
            {"cmd_run", [](auto& s, auto d, auto i, auto* r) { return s.cmd_run(d, i, r); }},
            {"cmd_runAsync",
             [](auto& s, auto d, auto i, auto* r) { return s.cmd_runAsync(d, i, r); }},
            {"cmd_runWithType",
             [](auto& s, auto d, auto i, auto* r) { return s.cmd_runWithType(d, i, 0, r); }},
            {"cmd_runFence",
             [](auto& s, auto d, auto i, auto* r) { return s.cmd_runFence(d, i, -1, 0, r); }},
            {"cmd_wait", [](auto& s, auto d, auto i, auto* r) { return s.cmd_wait(d, i, r); }},
            {"cmd_setDependencyEdge",
             [](auto& s, auto d, auto i, auto* r) {
                 return s.cmd_setDependencyEdge(d, i, i, i, r);
             }},
            {"cmd_setDependencyPack",
             [](auto& s, auto d, auto i, auto* r) {
                 return s.cmd_setDependencyPack(d, i, i, i, r);
             }},
            {"cmd_setDependencyTightly",
             [](auto& s, auto d, auto i, auto* r) {
                 return s.cmd_setDependencyTightly(d, i, i, i, i, r);
             }},
            {"cmd_setParam",
             [](auto& s, auto d, auto i, auto* r) { return s.cmd_setParam(d, i, 1, 0, r); }},
            {"cmd_setParams",
             [](auto& s, auto d, auto i, auto* r) {
                 return s.cmd_setParams(d, {DRAVIK_CMD_PARAMS_HD{i, 1, 0}}, r);
             }},
            {"subCmd_setParam",
             [](auto& s, auto d, auto i, auto* r) { return s.subCmd_setParam(d, i, 1, 0, r); }},
            {"subCmd_setParams",
             [](auto& s, auto d, auto i, auto* r) {
                 return s.subCmd_setParams(d, {DRAVIK_SUBCMD_PARAMS_HD{i, 1, 0}}, r);
             }},
            {"subCmd_addCmdBuf",
             [](auto& s, auto d, auto i, auto* r) { return s.subCmd_addCmdBuf(d, i, i, 0, r); }},
            {"session_deleteCmd",
             [](auto& s, auto d, auto i, auto* r) { return s.session_deleteCmd(d, i, r); }},
            {"session_cmdBufFree",
             [](auto& s, auto d, auto i, auto* r) { return s.session_cmdBufFree(d, i, r); }},
            {"session_memFree",
             [](auto& s, auto d, auto i, auto* r) { return s.session_memFree(d, i, r); }},
            {"session_memUnImport",
             [](auto& s, auto d, auto i, auto* r) { return s.session_memUnImport(d, i, r); }},
            {"session_memFlush",
             [](auto& s, auto d, auto i, auto* r) { return s.session_memFlush(d, i, r); }},
            {"session_memInvalidate",
             [](auto& s, auto d, auto i, auto* r) { return s.session_memInvalidate(d, i, r); }},
            {"session_memSetParamViaHostPtr",
             [](auto& s, auto d, auto i, auto* r) {
                 return s.session_memSetParamViaHostPtr(d, i, 1, 0, r);
             }},
    };
    // A known session with an unknown object, an unknown session, and the zero ids.
    const std::pair<int64_t, int64_t> id_pairs[] = {
            {session, kNeverIssuedId}, {kNeverIssuedId, kNeverIssuedId}, {kZeroId, kZeroId}};
    for (const ResultCall& entry : calls) {
        for (const auto& [session_id, object_id] : id_pairs) {
            int32_t ret = 12345;
            const ndk::ScopedAStatus status = entry.call(*service, session_id, object_id, &ret);
            EXPECT_TRUE(isOk(status)) << entry.method;
            EXPECT_EQ(ret, -1) << entry.method << "(" << session_id << ", " << object_id << ")";
        }
    }
    int32_t ret = 12345;
    ASSERT_TRUE(isOk(service->session_deleteInstance(kNeverIssuedId, &ret)));
    EXPECT_EQ(ret, -1) << "session_deleteInstance of an unknown session";
    int64_t value = 12345;
    ASSERT_TRUE(isOk(service->session_queryDeviceNum(session, 1, &value)));
    EXPECT_GE(value, 0) << "the service still answers a well-formed call";
}

TEST_P(TovanDravikHalTest, UnknownIdsYieldZeroValuesWithOkStatus) {
    const int64_t session = openSession();
    const std::vector<std::pair<const char*, std::function<ndk::ScopedAStatus(int64_t*)>>> calls = {
            {"session_queryInfo",
             [&](int64_t* v) { return service->session_queryInfo(kNeverIssuedId, 1, v); }},
            {"session_queryDeviceNum",
             [&](int64_t* v) { return service->session_queryDeviceNum(kNeverIssuedId, 1, v); }},
            {"session_memGetInfoFromHostPtr",
             [&](int64_t* v) {
                 return service->session_memGetInfoFromHostPtr(session, kNeverIssuedId, 2, v);
             }},
            {"cmd_getRunInfo",
             [&](int64_t* v) { return service->cmd_getRunInfo(session, kNeverIssuedId, 1, v); }},
            {"subCmd_getRunInfo",
             [&](int64_t* v) { return service->subCmd_getRunInfo(session, kZeroId, 1, v); }},
    };
    for (const auto& [method, call] : calls) {
        int64_t value = 12345;
        EXPECT_TRUE(isOk(call(&value))) << method;
        EXPECT_EQ(value, 0) << method;
    }
}

TEST_P(TovanDravikHalTest, CreatingMethodsRaiseUnsupportedOperationForUnknownSessions) {
    for (const int64_t unknown : {kZeroId, kNeverIssuedId}) {
        DRAVIK_MEMINFO_HD memory;
        DRAVIK_CMDBUF_INFO_HD buffer;
        int64_t id = 0;
        std::vector<ndk::ScopedFileDescriptor> files;
        files.push_back(sharedMemoryFile(4096));
        const std::pair<const char*, ndk::ScopedAStatus> statuses[] = {
                {"session_memAlloc", service->session_memAlloc(unknown, 4096, 0, 0, 0, &memory)},
                {"session_memAllocWithName",
                 service->session_memAllocWithName(unknown, 4096, 0, 0, 0, "vts", &memory)},
                {"session_memAllocV1",
                 service->session_memAllocV1(unknown, 4096, 0, 0, 0, "vts", 0, &memory)},
                {"session_memImport", service->session_memImport(unknown, files, 4096, &memory)},
                {"session_memImportWithFlag",
                 service->session_memImportWithFlag(unknown, files, 4096, 0, 0, &memory)},
                {"session_memImportV1",
                 service->session_memImportV1(unknown, files, 4096, 0, 0, &memory)},
                {"session_cmdBufAlloc", service->session_cmdBufAlloc(unknown, 4096, 0, &buffer)},
                {"session_cmdBufAllocWithName",
                 service->session_cmdBufAllocWithName(unknown, 4096, 0, "vts", 0, &buffer)},
                {"session_createCmd", service->session_createCmd(unknown, &id)},
                {"cmd_createSubcmd", service->cmd_createSubcmd(unknown, kNeverIssuedId, 1, &id)},
        };
        for (const auto& [method, status] : statuses) {
            EXPECT_TRUE(isException(status, kExceptionUnsupported))
                    << method << "(" << unknown << ")";
        }
        EXPECT_TRUE(isOpenDescriptor(files[0].get())) << "the client's descriptor stays its own";
    }
}

TEST_P(TovanDravikHalTest, BatchRunInformationRaisesNullPointerForUnknownSessions) {
    std::vector<int64_t> values;
    for (const bool empty : {true, false}) {
        std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD> command_queries;
        std::vector<DRAVIK_SUBCMD_RUNINFO_PARAMS_HD> sub_command_queries;
        if (!empty) {
            command_queries.push_back({kNeverIssuedId, 1});
            sub_command_queries.push_back({kNeverIssuedId, 1});
        }
        EXPECT_TRUE(isException(service->cmd_getRunInfos(kNeverIssuedId, command_queries, &values),
                                kExceptionNullPointer));
        EXPECT_TRUE(isException(
                service->subCmd_getRunInfos(kNeverIssuedId, sub_command_queries, &values),
                kExceptionNullPointer));
    }
}

}  // namespace
}  // namespace tessaro_vts
