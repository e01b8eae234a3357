// Frozen snapshot of one version of this AIDL API. Do not edit it: the interface
// hash of the version is computed over this exact text.
package vendor.korvane.hardware.tessaro.dravik;
@VintfStability
interface ITovanDravik {
  int cmd_build(in long dravik_id, in long cmd_id);
  int cmd_cachedAndRun(in long dravik_id, in long cmd_id, in long[] flushs, in long[] invalidates);
  int cmd_cachedAndRunWithType(in long dravik_id, in long cmd_id, in long[] flushs, in long[] invalidates, in int type);
  long cmd_createSubcmd(in long dravik_id, in long cmd_id, in int type);
  long cmd_getRunInfo(in long dravik_id, in long cmd_id, in int type);
  long[] cmd_getRunInfos(in long dravik_id, in vendor.korvane.hardware.tessaro.dravik.DRAVIK_CMD_RUNINFO_PARAMS_HD[] params);
  int cmd_run(in long dravik_id, in long cmd_id);
  int cmd_runAsync(in long dravik_id, in long cmd_id);
  int cmd_runWithType(in long dravik_id, in long cmd_id, in int type);
  int cmd_runFence(in long dravik_id, in long cmd_id, in int fence_fd, in long flags);
  int cmd_setDependencyEdge(in long dravik_id, in long cmd_id, in long predecessor, in long successor);
  int cmd_setDependencyPack(in long dravik_id, in long cmd_id, in long main_sub_cmd, in long appendix_sub_cmd);
  int cmd_setDependencyTightly(in long dravik_id, in long cmd_id, in long predecessor, in long successor, in long mem_id);
  int cmd_setParam(in long dravik_id, in long cmd_id, in int type, in long value);
  int cmd_setParams(in long dravik_id, in vendor.korvane.hardware.tessaro.dravik.DRAVIK_CMD_PARAMS_HD[] params);
  int cmd_wait(in long dravik_id, in long cmd_id);
  vendor.korvane.hardware.tessaro.dravik.DRAVIK_CMDBUF_INFO_HD session_cmdBufAlloc(in long dravik_id, in int size, in int align);
  int session_cmdBufFree(in long dravik_id, in long cmd_buf_id);
  long session_createCmd(in long dravik_id);
  long session_createInstance();
  int session_deleteCmd(in long dravik_id, in long cmd_id);
  int session_deleteInstance(in long dravik_id);
  vendor.korvane.hardware.tessaro.dravik.DRAVIK_MEMINFO_HD session_memAlloc(in long dravik_id, in int size, in int align, in int mem_type, in int mem_flag);
  int session_memFlush(in long dravik_id, in long mem_id);
  int session_memFree(in long dravik_id, in long mem_id);
  long session_memGetInfoFromHostPtr(in long dravik_id, in long mem_id, in int type);
  vendor.korvane.hardware.tessaro.dravik.DRAVIK_MEMINFO_HD session_memImport(in long dravik_id, in ParcelFileDescriptor[] fds, in int size);
  int session_memInvalidate(in long dravik_id, in long mem_id);
  int session_memSetParamViaHostPtr(in long dravik_id, in long mem_id, in int type, in long value);
  int session_memUnImport(in long dravik_id, in long mem_id);
  int session_queryDeviceMetaData(in long dravik_id, in int type, in android.hardware.common.Ashmem metadata);
  long session_queryDeviceNum(in long dravik_id, in int type);
  long session_queryInfo(in long dravik_id, in int kind);
  void setCallback(in vendor.korvane.hardware.tessaro.dravik.ITovanDravikCallback callback);
  int subCmd_addCmdBuf(in long dravik_id, in long sub_cmd_id, in long cmd_buf_id, in int mode);
  long subCmd_getRunInfo(in long dravik_id, in long sub_cmd_id, in int type);
  long[] subCmd_getRunInfos(in long dravik_id, in vendor.korvane.hardware.tessaro.dravik.DRAVIK_SUBCMD_RUNINFO_PARAMS_HD[] params);
  int subCmd_setParam(in long dravik_id, in long sub_cmd_id, in int type, in long value);
  int subCmd_setParams(in long dravik_id, in vendor.korvane.hardware.tessaro.dravik.DRAVIK_SUBCMD_PARAMS_HD[] params);
  ParcelFileDescriptor session_memGetFdFromHostPtr(in long dravik_id, in long mem_id, in int type);
  vendor.korvane.hardware.tessaro.dravik.DRAVIK_CMDBUF_INFO_HD session_cmdBufAllocWithName(in long dravik_id, in int size, in int align, in String name, in long extra);
  vendor.korvane.hardware.tessaro.dravik.DRAVIK_MEMINFO_HD session_memAllocWithName(in long dravik_id, in int size, in int align, in int mem_type, in int mem_flag, in String name);
  long[] cmd_cachedAndRunWithTypeExt(in long dravik_id, in long cmd_id, in long[] flushs, in long[] invalidates, in int type);
  vendor.korvane.hardware.tessaro.dravik.DRAVIK_MEMINFO_HD session_memImportWithFlag(in long dravik_id, in ParcelFileDescriptor[] fds, in long size, in long flag, in long extra);
  int cmd_runFence_v2(in long dravik_id, in long cmd_id, in android.hardware.common.NativeHandle in_handle, in long flags, out android.hardware.common.NativeHandle out_handle);
  void unSetCallback(in vendor.korvane.hardware.tessaro.dravik.ITovanDravikCallback callback);
  vendor.korvane.hardware.tessaro.dravik.DRAVIK_MEMINFO_HD session_memAllocV1(in long dravik_id, in long size, in long align, in int mem_type, in long mem_flag, in String name, in long extra);
  vendor.korvane.hardware.tessaro.dravik.DRAVIK_MEMINFO_HD session_memImportV1(in long dravik_id, in ParcelFileDescriptor[] fds, in long size, in long flag, in long extra);
}
