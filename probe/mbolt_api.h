/* SPDX-License-Identifier: MIT */

/* The programming interface of the debug probe, 631 functions.
 *
 * Every function forwards to the function of the same name in the probe's shared library. The first
 * call opens the library if need be (probelib.h says where it is looked for) and finds the function;
 * from then on a call is a load and a jump. What a function does, takes and returns is the library's
 * affair: here stand the names and how many arguments they take.
 *
 * Each argument is an integer or a pointer, cast to uintptr_t, and is passed on bit for bit; the
 * result is the library's own, to be cast to what its function gives, and means nothing when that
 * gives nothing. Narrower results have to be cut to their width by the caller: int32_t result =
 * (int32_t)MBOLT_Open(). Null rules are the library's.
 *
 * No function has an error code of its own for the way to the library. A library that cannot be
 * opened, or that lacks the called function, ends the process with status 1 after one of these lines
 * on standard output:
 *
 *   Could not open M-Bolt shared library. Exiting now.
 *   Function not found: NAME (TEXT OF THE DYNAMIC LOADER). Exiting now.
 *
 * A function whose address in the library is null is not called and gives 0, every time anew.
 *
 * Calls are not serialised: whether functions may run on several threads at once is the library's
 * affair. First calls may meet, too; they find the same function.
 *
 * Written by scripts/generate_probe_files.py from entry_points.def, where a function is a line. */
#ifndef TARVEN_PROBE_MBOLT_API_H_
#define TARVEN_PROBE_MBOLT_API_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/* ---- MBOLTARM_: without a family: connection, run control, memory, breakpoints, downloads ---- */
intptr_t MBOLTARM_AddMirrorArea(uintptr_t);
intptr_t MBOLTARM_AddMirrorAreaEx(uintptr_t, uintptr_t);
intptr_t MBOLTARM_BeginDownload(uintptr_t);
intptr_t MBOLTARM_Clock(void);
intptr_t MBOLTARM_Close(void);
intptr_t MBOLTARM_ClrBP(uintptr_t);
intptr_t MBOLTARM_ClrBPEx(uintptr_t);
intptr_t MBOLTARM_ClrDataEvent(uintptr_t);
intptr_t MBOLTARM_ClrError(void);
intptr_t MBOLTARM_ClrExecTime(void);
intptr_t MBOLTARM_ClrRESET(void);
intptr_t MBOLTARM_ClrTCK(void);
intptr_t MBOLTARM_ClrTDI(void);
intptr_t MBOLTARM_ClrTMS(void);
intptr_t MBOLTARM_ClrTRST(void);
intptr_t MBOLTARM_ClrWP(uintptr_t);
intptr_t MBOLTARM_Communicate(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_CommunicateEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ConfigJTAG(uintptr_t, uintptr_t);
intptr_t MBOLTARM_Connect(void);
intptr_t MBOLTARM_Core2CoreName(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_DisassembleInst(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_DisassembleInstEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_DownloadECode(uintptr_t, uintptr_t);
intptr_t MBOLTARM_EnableCheckModeAfterWrite(uintptr_t);
intptr_t MBOLTARM_EnableFlashCache(uintptr_t);
intptr_t MBOLTARM_EnableLog(uintptr_t);
intptr_t MBOLTARM_EnableLogCom(uintptr_t);
intptr_t MBOLTARM_EnablePerformanceCnt(uintptr_t, uintptr_t);
intptr_t MBOLTARM_EnableSoftBPs(uintptr_t);
intptr_t MBOLTARM_EndDownload(void);
intptr_t MBOLTARM_ExecCommand(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ExecECode(void);
intptr_t MBOLTARM_FindBP(uintptr_t);
intptr_t MBOLTARM_FreeMem(uintptr_t);
intptr_t MBOLTARM_GetBPInfo(uintptr_t);
intptr_t MBOLTARM_GetBPInfoEx(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetCompileDateTime(void);
intptr_t MBOLTARM_GetConfigData(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetDLLVersion(void);
intptr_t MBOLTARM_GetDebugInfo(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetDeviceFamily(void);
intptr_t MBOLTARM_GetDeviceId(uintptr_t);
intptr_t MBOLTARM_GetEmbeddedFWString(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetEmbeddedFWVersion(void);
intptr_t MBOLTARM_GetEmuCaps(void);
intptr_t MBOLTARM_GetEmuCapsEx(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetExecTime(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetFeatureString(uintptr_t);
intptr_t MBOLTARM_GetFirmwareString(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetHWInfo(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetHWStatus(uintptr_t);
intptr_t MBOLTARM_GetHardwareVersion(void);
intptr_t MBOLTARM_GetIRLen(void);
intptr_t MBOLTARM_GetId(void);
intptr_t MBOLTARM_GetIdData(uintptr_t);
intptr_t MBOLTARM_GetMOEs(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetNumBPUnits(uintptr_t);
intptr_t MBOLTARM_GetNumBPs(void);
intptr_t MBOLTARM_GetNumWPUnits(void);
intptr_t MBOLTARM_GetNumWPs(void);
intptr_t MBOLTARM_GetOEMString(uintptr_t);
intptr_t MBOLTARM_GetPerformanceCnt(uintptr_t);
intptr_t MBOLTARM_GetRegisterList(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetRegisterName(uintptr_t);
intptr_t MBOLTARM_GetResetTypeDesc(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetSN(void);
intptr_t MBOLTARM_GetScanLen(void);
intptr_t MBOLTARM_GetSelDevice(void);
intptr_t MBOLTARM_GetSpeed(void);
intptr_t MBOLTARM_GetSpeedInfo(uintptr_t);
intptr_t MBOLTARM_GetU32(uintptr_t);
intptr_t MBOLTARM_GetWPInfoEx(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GetpSharedMem(void);
intptr_t MBOLTARM_Go(void);
intptr_t MBOLTARM_GoAllowSim(uintptr_t);
intptr_t MBOLTARM_GoEx(uintptr_t, uintptr_t);
intptr_t MBOLTARM_GoHalt(uintptr_t);
intptr_t MBOLTARM_GoIntDis(void);
intptr_t MBOLTARM_Halt(void);
intptr_t MBOLTARM_HasError(void);
intptr_t MBOLTARM_IsConnected(void);
intptr_t MBOLTARM_IsHalted(void);
intptr_t MBOLTARM_IsOpen(void);
intptr_t MBOLTARM_Lock(void);
intptr_t MBOLTARM_MeasureCPUSpeed(uintptr_t, uintptr_t);
intptr_t MBOLTARM_MeasureCPUSpeedEx(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_MeasureRTCKReactTime(uintptr_t);
intptr_t MBOLTARM_MeasureSCLen(uintptr_t);
intptr_t MBOLTARM_Open(void);
intptr_t MBOLTARM_OpenEx(uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadCodeMem(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadConfigReg(uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadControlReg(uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadDCC(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadDCCFast(uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadDebugPort(uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadDebugReg(uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadEmu(uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadEmuConfigMem(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadICEReg(uintptr_t);
intptr_t MBOLTARM_ReadMem(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadMemEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadMemHW(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadMemIndirect(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadMemU16(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadMemU32(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadMemU64(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadMemU8(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadReg(uintptr_t);
intptr_t MBOLTARM_ReadRegs(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_ReadTerminal(uintptr_t, uintptr_t);
intptr_t MBOLTARM_Reset(void);
intptr_t MBOLTARM_ResetNoHalt(void);
intptr_t MBOLTARM_ResetPullsRESET(uintptr_t);
intptr_t MBOLTARM_ResetPullsTRST(uintptr_t);
intptr_t MBOLTARM_ResetTRST(void);
intptr_t MBOLTARM_SelDevice(uintptr_t);
intptr_t MBOLTARM_SelectDeviceFamily(uintptr_t);
intptr_t MBOLTARM_SelectIP(uintptr_t, uintptr_t);
intptr_t MBOLTARM_SelectTraceSource(uintptr_t);
intptr_t MBOLTARM_SelectUSB(uintptr_t);
intptr_t MBOLTARM_SetBP(uintptr_t, uintptr_t);
intptr_t MBOLTARM_SetBPEx(uintptr_t, uintptr_t);
intptr_t MBOLTARM_SetCoreIndex(uintptr_t);
intptr_t MBOLTARM_SetDataEvent(uintptr_t, uintptr_t);
intptr_t MBOLTARM_SetDebugUnitBlockMask(uintptr_t, uintptr_t);
intptr_t MBOLTARM_SetEndian(uintptr_t);
intptr_t MBOLTARM_SetErrorOutHandler(uintptr_t);
intptr_t MBOLTARM_SetFlashArea(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_SetInitRegsOnReset(uintptr_t);
intptr_t MBOLTARM_SetLogFile(uintptr_t);
intptr_t MBOLTARM_SetMaxSpeed(void);
intptr_t MBOLTARM_SetRESET(void);
intptr_t MBOLTARM_SetResetDelay(uintptr_t);
intptr_t MBOLTARM_SetResetPara(uintptr_t);
intptr_t MBOLTARM_SetResetType(uintptr_t);
intptr_t MBOLTARM_SetSpeed(uintptr_t);
intptr_t MBOLTARM_SetTCK(void);
intptr_t MBOLTARM_SetTDI(void);
intptr_t MBOLTARM_SetTMS(void);
intptr_t MBOLTARM_SetTRST(void);
intptr_t MBOLTARM_SetWP(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_SetWaitFunction(uintptr_t, uintptr_t);
intptr_t MBOLTARM_SetWarnOutHandler(uintptr_t);
intptr_t MBOLTARM_SimulateInstruction(uintptr_t);
intptr_t MBOLTARM_Step(void);
intptr_t MBOLTARM_StepComposite(void);
intptr_t MBOLTARM_StoreBits(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_StoreCmd(uintptr_t);
intptr_t MBOLTARM_StoreData(uintptr_t, uintptr_t);
intptr_t MBOLTARM_Test(void);
intptr_t MBOLTARM_Unlock(void);
intptr_t MBOLTARM_UpdateFirmware(void);
intptr_t MBOLTARM_UpdateFirmwareIfNewer(void);
intptr_t MBOLTARM_UpdateReplaceFirmware(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WaitDCCRead(uintptr_t);
intptr_t MBOLTARM_WaitForHalt(uintptr_t);
intptr_t MBOLTARM_WriteBits(void);
intptr_t MBOLTARM_WriteConfigReg(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteControlReg(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteDCC(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteDCCFast(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteDebugPort(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteDebugReg(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteEmu(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteEmuConfigMem(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteICEReg(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteMem(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteMemDelayed(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteMemEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteMemHW(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteMemMultiple(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteReg(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteRegs(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteU16(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteU32(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteU64(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteU8(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WriteVectorCatch(uintptr_t);
intptr_t MBOLTARM_WriteVerifyMem(uintptr_t, uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLTARM_BMI_: the BMI setting ---- */
intptr_t MBOLTARM_BMI_Get(uintptr_t);
intptr_t MBOLTARM_BMI_Set(uintptr_t);

/* ---- MBOLTARM_CDC_: the probe's serial channel (CDC): data, baud rate, RTS, time-outs ---- */
intptr_t MBOLTARM_CDC_Read(uintptr_t, uintptr_t);
intptr_t MBOLTARM_CDC_SetBaudrate(uintptr_t);
intptr_t MBOLTARM_CDC_SetHookFuncs(uintptr_t, uintptr_t);
intptr_t MBOLTARM_CDC_SetRTSState(uintptr_t);
intptr_t MBOLTARM_CDC_SetTimeoutLastCDCRead(uintptr_t);
intptr_t MBOLTARM_CDC_Write(uintptr_t, uintptr_t);

/* ---- MBOLTARM_CORE_: target cores: which were found, which one is meant ---- */
intptr_t MBOLTARM_CORE_GetFound(void);
intptr_t MBOLTARM_CORE_Select(uintptr_t);

/* ---- MBOLTARM_CORESIGHT_: CoreSight: configuration, registers of the debug and access ports ---- */
intptr_t MBOLTARM_CORESIGHT_Configure(uintptr_t);
intptr_t MBOLTARM_CORESIGHT_ReadAPDPReg(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_CORESIGHT_WriteAPDPReg(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLTARM_CP15_: registers of the system control coprocessor (CP15) ---- */
intptr_t MBOLTARM_CP15_IsPresent(void);
intptr_t MBOLTARM_CP15_ReadEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_CP15_ReadReg(uintptr_t, uintptr_t);
intptr_t MBOLTARM_CP15_WriteEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_CP15_WriteReg(uintptr_t, uintptr_t);

/* ---- MBOLTARM_DEVICE_: target devices: index, properties, choosing one ---- */
intptr_t MBOLTARM_DEVICE_GetIndex(uintptr_t);
intptr_t MBOLTARM_DEVICE_GetInfo(uintptr_t, uintptr_t);
intptr_t MBOLTARM_DEVICE_SelectDialog(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLTARM_EMU_: probes: choice, capabilities, files, pins, counters ---- */
intptr_t MBOLTARM_EMU_COM_IsSupported(void);
intptr_t MBOLTARM_EMU_COM_Read(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_COM_Write(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_FILE_Delete(uintptr_t);
intptr_t MBOLTARM_EMU_FILE_GetList(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_FILE_GetSize(uintptr_t);
intptr_t MBOLTARM_EMU_FILE_Read(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_FILE_Write(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_GetCounters(uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_GetDeviceInfo(uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_GetList(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_GetMaxMemBlock(void);
intptr_t MBOLTARM_EMU_GetNumConnections(void);
intptr_t MBOLTARM_EMU_GetNumDevices(void);
intptr_t MBOLTARM_EMU_GetProductId(void);
intptr_t MBOLTARM_EMU_GetProductName(uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_HasCPUCap(uintptr_t);
intptr_t MBOLTARM_EMU_HasCapEx(uintptr_t);
intptr_t MBOLTARM_EMU_IsConnected(void);
intptr_t MBOLTARM_EMU_SelectByIndex(uintptr_t);
intptr_t MBOLTARM_EMU_SelectByUSBSN(uintptr_t);
intptr_t MBOLTARM_EMU_SelectIP(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_SelectIPBySN(uintptr_t);
intptr_t MBOLTARM_EMU_TestNRSpeed(uintptr_t, uintptr_t);
intptr_t MBOLTARM_EMU_TestNWSpeed(uintptr_t, uintptr_t);

/* ---- MBOLTARM_ETB_: registers of the embedded trace buffer (ETB) ---- */
intptr_t MBOLTARM_ETB_IsPresent(void);
intptr_t MBOLTARM_ETB_ReadReg(uintptr_t);
intptr_t MBOLTARM_ETB_WriteReg(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLTARM_ETM_: registers of the embedded trace macrocell (ETM), and starting it ---- */
intptr_t MBOLTARM_ETM_IsPresent(void);
intptr_t MBOLTARM_ETM_ReadReg(uintptr_t);
intptr_t MBOLTARM_ETM_StartTrace(void);
intptr_t MBOLTARM_ETM_WriteReg(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLTARM_FLASH_: flash memory: banks, data files, erasing, programming, verifying ---- */
intptr_t MBOLTARM_FLASH_AddBank(uintptr_t, uintptr_t);
intptr_t MBOLTARM_FLASH_CloseDataFile(uintptr_t);
intptr_t MBOLTARM_FLASH_DelBank(uintptr_t);
intptr_t MBOLTARM_FLASH_EraseChip(void);
intptr_t MBOLTARM_FLASH_EraseRequired(uintptr_t);
intptr_t MBOLTARM_FLASH_GetDeviceName(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_FLASH_GetNumLoadedBytes(uintptr_t);
intptr_t MBOLTARM_FLASH_OpenBinFile(uintptr_t, uintptr_t);
intptr_t MBOLTARM_FLASH_OpenDataFile(uintptr_t);
intptr_t MBOLTARM_FLASH_Program(uintptr_t);
intptr_t MBOLTARM_FLASH_SetBankPara(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_FLASH_SetClockSpeed(uintptr_t);
intptr_t MBOLTARM_FLASH_SetNotifyHandler(uintptr_t);
intptr_t MBOLTARM_FLASH_Verify(uintptr_t);
intptr_t MBOLTARM_FLASH_VerifyCRC(uintptr_t);

/* ---- MBOLTARM_INDICATORS_: the probe's indicators ---- */
intptr_t MBOLTARM_INDICATORS_SetState(uintptr_t, uintptr_t);

/* ---- MBOLTARM_JTAG_: JTAG: devices of the chain, raw transfers ---- */
intptr_t MBOLTARM_JTAG_ConfigDevices(uintptr_t, uintptr_t);
intptr_t MBOLTARM_JTAG_DisableIF(void);
intptr_t MBOLTARM_JTAG_EnableIF(void);
intptr_t MBOLTARM_JTAG_GetData(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_JTAG_GetDeviceId(uintptr_t);
intptr_t MBOLTARM_JTAG_GetDeviceInfo(uintptr_t, uintptr_t);
intptr_t MBOLTARM_JTAG_GetU16(uintptr_t);
intptr_t MBOLTARM_JTAG_GetU32(uintptr_t);
intptr_t MBOLTARM_JTAG_GetU8(uintptr_t);
intptr_t MBOLTARM_JTAG_StoreData(uintptr_t, uintptr_t);
intptr_t MBOLTARM_JTAG_StoreGetData(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_JTAG_StoreGetRaw(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_JTAG_StoreInst(uintptr_t, uintptr_t);
intptr_t MBOLTARM_JTAG_StoreRaw(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_JTAG_SyncBits(void);
intptr_t MBOLTARM_JTAG_SyncBytes(void);
intptr_t MBOLTARM_JTAG_WriteData(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLTARM_NET_: opening and closing by network ---- */
intptr_t MBOLTARM_NET_Close(void);
intptr_t MBOLTARM_NET_Open(void);

/* ---- MBOLTARM_PCODE_: P-code: assembling, running, versions ---- */
intptr_t MBOLTARM_PCODE_Assemble(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_PCODE_Exec(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_PCODE_GetCaps(uintptr_t);
intptr_t MBOLTARM_PCODE_GetDebugAPI(uintptr_t);
intptr_t MBOLTARM_PCODE_GetS32Version(uintptr_t);

/* ---- MBOLTARM_RAWTRACE_: raw trace: control and data ---- */
intptr_t MBOLTARM_RAWTRACE_Control(uintptr_t, uintptr_t);
intptr_t MBOLTARM_RAWTRACE_Read(uintptr_t, uintptr_t);

/* ---- MBOLTARM_SWD_: serial wire debug (SWD): lines and raw transfers ---- */
intptr_t MBOLTARM_SWD_DisableSWCLK(void);
intptr_t MBOLTARM_SWD_EnableSWCLK(void);
intptr_t MBOLTARM_SWD_SetDirIn(void);
intptr_t MBOLTARM_SWD_SetDirOut(void);

/* ---- MBOLTARM_SWO_: serial wire output (SWO): control, speeds, data ---- */
intptr_t MBOLTARM_SWO_Control(uintptr_t, uintptr_t);
intptr_t MBOLTARM_SWO_DisableTarget(uintptr_t);
intptr_t MBOLTARM_SWO_EnableTarget(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_SWO_GetCompatibleSpeeds(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_SWO_Read(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLTARM_SWO_ReadStimulus(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLTARM_TIF_: target interfaces: which there are, which one is used ---- */
intptr_t MBOLTARM_TIF_GetAvailable(uintptr_t);
intptr_t MBOLTARM_TIF_Select(uintptr_t);

/* ---- MBOLTARM_TRACE_: trace: control, instructions, items ---- */
intptr_t MBOLTARM_TRACE_AddInst(uintptr_t, uintptr_t);
intptr_t MBOLTARM_TRACE_AddItems(uintptr_t, uintptr_t);
intptr_t MBOLTARM_TRACE_Control(uintptr_t, uintptr_t);
intptr_t MBOLTARM_TRACE_Read(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLTARM_WA_: WA ranges ---- */
intptr_t MBOLTARM_WA_AddRange(uintptr_t, uintptr_t);
intptr_t MBOLTARM_WA_Restore(void);

/* ---- MBOLT_: without a family: connection, run control, memory, breakpoints, downloads ---- */
intptr_t MBOLT_AddMirrorArea(uintptr_t);
intptr_t MBOLT_AddMirrorAreaEx(uintptr_t, uintptr_t);
intptr_t MBOLT_BeginDownload(uintptr_t);
intptr_t MBOLT_Clock(void);
intptr_t MBOLT_Close(void);
intptr_t MBOLT_ClrBP(uintptr_t);
intptr_t MBOLT_ClrBPEx(uintptr_t);
intptr_t MBOLT_ClrDataEvent(uintptr_t);
intptr_t MBOLT_ClrError(void);
intptr_t MBOLT_ClrExecTime(void);
intptr_t MBOLT_ClrRESET(void);
intptr_t MBOLT_ClrTCK(void);
intptr_t MBOLT_ClrTDI(void);
intptr_t MBOLT_ClrTMS(void);
intptr_t MBOLT_ClrTRST(void);
intptr_t MBOLT_ClrWP(uintptr_t);
intptr_t MBOLT_Communicate(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ConfigJTAG(uintptr_t, uintptr_t);
intptr_t MBOLT_Configure(uintptr_t);
intptr_t MBOLT_Connect(void);
intptr_t MBOLT_DownloadECode(uintptr_t, uintptr_t);
intptr_t MBOLT_DownloadFile(uintptr_t, uintptr_t);
intptr_t MBOLT_EnableCheckModeAfterWrite(uintptr_t);
intptr_t MBOLT_EnableFlashCache(uintptr_t);
intptr_t MBOLT_EnableLog(uintptr_t);
intptr_t MBOLT_EnableLogCom(uintptr_t);
intptr_t MBOLT_EnablePerformanceCnt(uintptr_t, uintptr_t);
intptr_t MBOLT_EnableSoftBPs(uintptr_t);
intptr_t MBOLT_EndDownload(void);
intptr_t MBOLT_EraseChip(void);
intptr_t MBOLT_ExecCommand(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ExecECode(void);
intptr_t MBOLT_FindBP(uintptr_t);
intptr_t MBOLT_GetBPInfoEx(uintptr_t, uintptr_t);
intptr_t MBOLT_GetCompileDateTime(void);
intptr_t MBOLT_GetConfigData(uintptr_t, uintptr_t);
intptr_t MBOLT_GetDLLVersion(void);
intptr_t MBOLT_GetDebugInfo(uintptr_t, uintptr_t);
intptr_t MBOLT_GetDeviceFamily(void);
intptr_t MBOLT_GetEmbeddedFWString(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_GetEmbeddedFWVersion(void);
intptr_t MBOLT_GetEmuCaps(void);
intptr_t MBOLT_GetEmuCapsEx(uintptr_t, uintptr_t);
intptr_t MBOLT_GetExecTime(uintptr_t, uintptr_t);
intptr_t MBOLT_GetFeatureString(uintptr_t);
intptr_t MBOLT_GetFirmwareString(uintptr_t, uintptr_t);
intptr_t MBOLT_GetHWInfo(uintptr_t, uintptr_t);
intptr_t MBOLT_GetHWStatus(uintptr_t);
intptr_t MBOLT_GetHardwareVersion(void);
intptr_t MBOLT_GetIRLen(void);
intptr_t MBOLT_GetId(void);
intptr_t MBOLT_GetIdData(uintptr_t);
intptr_t MBOLT_GetMOEs(uintptr_t, uintptr_t);
intptr_t MBOLT_GetMemZones(uintptr_t, uintptr_t);
intptr_t MBOLT_GetNumBPUnits(uintptr_t);
intptr_t MBOLT_GetNumBPs(void);
intptr_t MBOLT_GetNumWPUnits(void);
intptr_t MBOLT_GetNumWPs(void);
intptr_t MBOLT_GetOEMString(uintptr_t);
intptr_t MBOLT_GetPCode(uintptr_t, uintptr_t);
intptr_t MBOLT_GetPerformanceCnt(uintptr_t);
intptr_t MBOLT_GetRegisterList(uintptr_t, uintptr_t);
intptr_t MBOLT_GetRegisterName(uintptr_t);
intptr_t MBOLT_GetResetTypeDesc(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_GetSN(void);
intptr_t MBOLT_GetScanLen(void);
intptr_t MBOLT_GetSelDevice(void);
intptr_t MBOLT_GetSpeed(void);
intptr_t MBOLT_GetSpeedInfo(uintptr_t);
intptr_t MBOLT_GetU32(uintptr_t);
intptr_t MBOLT_GetWPInfoEx(uintptr_t, uintptr_t);
intptr_t MBOLT_GetpFunc(uintptr_t);
intptr_t MBOLT_GetpSharedMem(void);
intptr_t MBOLT_Go(void);
intptr_t MBOLT_GoAllowSim(uintptr_t);
intptr_t MBOLT_GoEx(uintptr_t, uintptr_t);
intptr_t MBOLT_GoHalt(uintptr_t);
intptr_t MBOLT_GoIntDis(void);
intptr_t MBOLT_Halt(void);
intptr_t MBOLT_HaltNoSave(void);
intptr_t MBOLT_HasError(void);
intptr_t MBOLT_IsConnected(void);
intptr_t MBOLT_IsHalted(void);
intptr_t MBOLT_IsOpen(void);
intptr_t MBOLT_Lock(void);
intptr_t MBOLT_MeasureCPUSpeed(uintptr_t, uintptr_t);
intptr_t MBOLT_MeasureCPUSpeedEx(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_MeasureRTCKReactTime(uintptr_t);
intptr_t MBOLT_MeasureSCLen(uintptr_t);
intptr_t MBOLT_Open(void);
intptr_t MBOLT_OpenEx(uintptr_t, uintptr_t);
intptr_t MBOLT_PrintConfig(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadCodeMem(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadConfigReg(uintptr_t, uintptr_t);
intptr_t MBOLT_ReadControlReg(uintptr_t, uintptr_t);
intptr_t MBOLT_ReadDCC(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadDCCFast(uintptr_t, uintptr_t);
intptr_t MBOLT_ReadDebugPort(uintptr_t, uintptr_t);
intptr_t MBOLT_ReadDebugReg(uintptr_t, uintptr_t);
intptr_t MBOLT_ReadEmu(uintptr_t, uintptr_t);
intptr_t MBOLT_ReadEmuConfigMem(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadICEReg(uintptr_t);
intptr_t MBOLT_ReadMem(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemEx_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemHW(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemIndirect(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemTimed(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemU16(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemU16_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemU32(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemU32_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemU64(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemU64_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemU8(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemU8_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemZonedEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemZonedEx_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemZonedU16(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemZonedU16_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemZonedU32(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadMemZonedU32_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadReg(uintptr_t);
intptr_t MBOLT_ReadRegs(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadRegs_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_ReadTerminal(uintptr_t, uintptr_t);
intptr_t MBOLT_ReadWriteData(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_Reset(void);
intptr_t MBOLT_ResetNoHalt(void);
intptr_t MBOLT_ResetPullsRESET(uintptr_t);
intptr_t MBOLT_ResetPullsTRST(uintptr_t);
intptr_t MBOLT_ResetTRST(void);
intptr_t MBOLT_SelDevice(uintptr_t);
intptr_t MBOLT_SelectDeviceFamily(uintptr_t);
intptr_t MBOLT_SelectIP(uintptr_t, uintptr_t);
intptr_t MBOLT_SelectTraceSource(uintptr_t);
intptr_t MBOLT_SelectUSB(uintptr_t);
intptr_t MBOLT_SetBP(uintptr_t, uintptr_t);
intptr_t MBOLT_SetBPEx(uintptr_t, uintptr_t);
intptr_t MBOLT_SetBPEx_64(uintptr_t, uintptr_t);
intptr_t MBOLT_SetDataEvent(uintptr_t, uintptr_t);
intptr_t MBOLT_SetDebugUnitBlockMask(uintptr_t, uintptr_t);
intptr_t MBOLT_SetEndian(uintptr_t);
intptr_t MBOLT_SetErrorOutHandler(uintptr_t);
intptr_t MBOLT_SetFlashArea(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_SetFlashProgProgressCallback(uintptr_t);
intptr_t MBOLT_SetHookUnsecureDialog(uintptr_t);
intptr_t MBOLT_SetInitRegsOnReset(uintptr_t);
intptr_t MBOLT_SetLogFile(uintptr_t);
intptr_t MBOLT_SetMaxSpeed(void);
intptr_t MBOLT_SetRESET(void);
intptr_t MBOLT_SetResetDelay(uintptr_t);
intptr_t MBOLT_SetResetPara(uintptr_t);
intptr_t MBOLT_SetResetType(uintptr_t);
intptr_t MBOLT_SetSpeed(uintptr_t);
intptr_t MBOLT_SetTCK(void);
intptr_t MBOLT_SetTDI(void);
intptr_t MBOLT_SetTMS(void);
intptr_t MBOLT_SetTRST(void);
intptr_t MBOLT_SetWP(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_SetWaitFunction(uintptr_t, uintptr_t);
intptr_t MBOLT_SetWarnOutHandler(uintptr_t);
intptr_t MBOLT_SimulateInstruction(uintptr_t);
intptr_t MBOLT_Step(void);
intptr_t MBOLT_StepComposite(void);
intptr_t MBOLT_StoreBits(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_StoreCmd(uintptr_t);
intptr_t MBOLT_Test(void);
intptr_t MBOLT_Unlock(void);
intptr_t MBOLT_UpdateFirmware(void);
intptr_t MBOLT_UpdateFirmwareIfNewer(void);
intptr_t MBOLT_UpdateReplaceFirmware(uintptr_t, uintptr_t);
intptr_t MBOLT_WaitDCCRead(uintptr_t);
intptr_t MBOLT_WaitForHalt(uintptr_t);
intptr_t MBOLT_WriteBits(void);
intptr_t MBOLT_WriteConfigReg(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteControlReg(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteDCC(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteDCCFast(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteDebugPort(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteDebugReg(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteEmu(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteEmuConfigMem(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteICEReg(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteMem(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteMemDelayed(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteMemEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteMemEx_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteMemHW(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteMemZonedEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteMemZonedEx_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteReg(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteRegs(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteRegs_64(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteU16(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteU16_64(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteU32(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteU32_64(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteU64(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteU64_64(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteU8(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteU8_64(uintptr_t, uintptr_t);
intptr_t MBOLT_WriteVectorCatch(uintptr_t);
intptr_t MBOLT_WriteVerifyMem(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteZonedU16(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteZonedU16_64(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteZonedU32(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_WriteZonedU32_64(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_CORE_: target cores: which were found, which one is meant ---- */
intptr_t MBOLT_CORE_GetFound(void);
intptr_t MBOLT_CORE_Select(uintptr_t);

/* ---- MBOLT_CORESIGHT_: CoreSight: configuration, registers of the debug and access ports ---- */
intptr_t MBOLT_CORESIGHT_Configure(uintptr_t);
intptr_t MBOLT_CORESIGHT_ReadAPDPReg(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_CORESIGHT_WriteAPDPReg(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_CP15_: registers of the system control coprocessor (CP15) ---- */
intptr_t MBOLT_CP15_IsPresent(void);
intptr_t MBOLT_CP15_ReadEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_CP15_ReadReg(uintptr_t, uintptr_t);
intptr_t MBOLT_CP15_WriteEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_CP15_WriteReg(uintptr_t, uintptr_t);

/* ---- MBOLT_DEVICE_: target devices: index, properties, choosing one ---- */
intptr_t MBOLT_DEVICE_GetIndex(uintptr_t);
intptr_t MBOLT_DEVICE_GetInfo(uintptr_t, uintptr_t);
intptr_t MBOLT_DEVICE_SelectDialog(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_DIALOG_: configuration dialogs ---- */
intptr_t MBOLT_DIALOG_Configure(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_DIALOG_ConfigureEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_EMU_: probes: choice, capabilities, files, pins, counters ---- */
intptr_t MBOLT_EMU_COM_IsSupported(void);
intptr_t MBOLT_EMU_COM_Read(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_COM_Write(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_FILE_Delete(uintptr_t);
intptr_t MBOLT_EMU_FILE_GetList(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_FILE_GetSize(uintptr_t);
intptr_t MBOLT_EMU_FILE_Read(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_FILE_Write(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_GPIO_GetProps(uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_GPIO_GetState(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_GPIO_SetState(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_GetCounters(uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_GetDeviceInfo(uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_GetList(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_GetMaxMemBlock(void);
intptr_t MBOLT_EMU_GetNumConnections(void);
intptr_t MBOLT_EMU_GetNumDevices(void);
intptr_t MBOLT_EMU_GetProductId(void);
intptr_t MBOLT_EMU_GetProductName(uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_HasCPUCap(uintptr_t);
intptr_t MBOLT_EMU_HasCapEx(uintptr_t);
intptr_t MBOLT_EMU_IsConnected(void);
intptr_t MBOLT_EMU_SelectByIndex(uintptr_t);
intptr_t MBOLT_EMU_SelectByUSBSN(uintptr_t);
intptr_t MBOLT_EMU_SelectIP(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_SelectIPBySN(uintptr_t);
intptr_t MBOLT_EMU_TestNRSpeed(uintptr_t, uintptr_t);
intptr_t MBOLT_EMU_TestNWSpeed(uintptr_t, uintptr_t);

/* ---- MBOLT_ETB_: registers of the embedded trace buffer (ETB) ---- */
intptr_t MBOLT_ETB_IsPresent(void);
intptr_t MBOLT_ETB_ReadReg(uintptr_t);
intptr_t MBOLT_ETB_WriteReg(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_ETM_: registers of the embedded trace macrocell (ETM), and starting it ---- */
intptr_t MBOLT_ETM_IsPresent(void);
intptr_t MBOLT_ETM_ReadReg(uintptr_t);
intptr_t MBOLT_ETM_StartTrace(void);
intptr_t MBOLT_ETM_WriteReg(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_FLASH_: flash memory: banks, data files, erasing, programming, verifying ---- */
intptr_t MBOLT_FLASH_AddBank(uintptr_t, uintptr_t);
intptr_t MBOLT_FLASH_CloseDataFile(uintptr_t);
intptr_t MBOLT_FLASH_DelBank(uintptr_t);
intptr_t MBOLT_FLASH_EraseChip(void);
intptr_t MBOLT_FLASH_EraseRequired(uintptr_t);
intptr_t MBOLT_FLASH_GetDeviceName(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_FLASH_GetNumLoadedBytes(uintptr_t);
intptr_t MBOLT_FLASH_OpenBinFile(uintptr_t, uintptr_t);
intptr_t MBOLT_FLASH_OpenDataFile(uintptr_t);
intptr_t MBOLT_FLASH_Program(uintptr_t);
intptr_t MBOLT_FLASH_SetBankPara(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_FLASH_SetClockSpeed(uintptr_t);
intptr_t MBOLT_FLASH_SetNotifyHandler(uintptr_t);
intptr_t MBOLT_FLASH_Verify(uintptr_t);
intptr_t MBOLT_FLASH_VerifyCRC(uintptr_t);

/* ---- MBOLT_HSS_: HSS sampling: capabilities, start, stop, results ---- */
intptr_t MBOLT_HSS_GetCaps(uintptr_t);
intptr_t MBOLT_HSS_Read(uintptr_t, uintptr_t);
intptr_t MBOLT_HSS_Start(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_HSS_Stop(void);

/* ---- MBOLT_INDICATORS_: the probe's indicators ---- */
intptr_t MBOLT_INDICATORS_SetState(uintptr_t, uintptr_t);

/* ---- MBOLT_JTAG_: JTAG: devices of the chain, raw transfers ---- */
intptr_t MBOLT_JTAG_ConfigDevices(uintptr_t, uintptr_t);
intptr_t MBOLT_JTAG_DisableIF(void);
intptr_t MBOLT_JTAG_EnableIF(void);
intptr_t MBOLT_JTAG_GetData(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_JTAG_GetDeviceId(uintptr_t);
intptr_t MBOLT_JTAG_GetDeviceInfo(uintptr_t, uintptr_t);
intptr_t MBOLT_JTAG_GetU16(uintptr_t);
intptr_t MBOLT_JTAG_GetU32(uintptr_t);
intptr_t MBOLT_JTAG_GetU8(uintptr_t);
intptr_t MBOLT_JTAG_StoreData(uintptr_t, uintptr_t);
intptr_t MBOLT_JTAG_StoreGetData(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_JTAG_StoreGetRaw(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_JTAG_StoreInst(uintptr_t, uintptr_t);
intptr_t MBOLT_JTAG_StoreRaw(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_JTAG_SyncBits(void);
intptr_t MBOLT_JTAG_SyncBytes(void);
intptr_t MBOLT_JTAG_WriteData(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_NET_: opening and closing by network ---- */
intptr_t MBOLT_NET_Close(void);
intptr_t MBOLT_NET_Open(void);

/* ---- MBOLT_PCODE_: P-code: assembling, running, versions ---- */
intptr_t MBOLT_PCODE_Exec(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_PCODE_GetCaps(uintptr_t);
intptr_t MBOLT_PCODE_GetS32Version(uintptr_t);

/* ---- MBOLT_POWERTRACE_: power trace: control and data ---- */
intptr_t MBOLT_POWERTRACE_Control(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_POWERTRACE_Read(uintptr_t, uintptr_t);

/* ---- MBOLT_RAWTRACE_: raw trace: control and data ---- */
intptr_t MBOLT_RAWTRACE_Control(uintptr_t, uintptr_t);
intptr_t MBOLT_RAWTRACE_Read(uintptr_t, uintptr_t);

/* ---- MBOLT_SPI_: SPI transfers ---- */
intptr_t MBOLT_SPI_Transfer(uintptr_t, uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_STRACE_: streaming trace: configuration, start, stop, data, statistics ---- */
intptr_t MBOLT_STRACE_Config(uintptr_t);
intptr_t MBOLT_STRACE_Control(uintptr_t, uintptr_t);
intptr_t MBOLT_STRACE_GetInstStats(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_STRACE_Read(uintptr_t, uintptr_t);
intptr_t MBOLT_STRACE_ReadEx(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_STRACE_Start(void);
intptr_t MBOLT_STRACE_Stop(void);

/* ---- MBOLT_SWD_: serial wire debug (SWD): lines and raw transfers ---- */
intptr_t MBOLT_SWD_DisableSWCLK(void);
intptr_t MBOLT_SWD_EnableSWCLK(void);
intptr_t MBOLT_SWD_GetData(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_SWD_GetU16(uintptr_t);
intptr_t MBOLT_SWD_GetU32(uintptr_t);
intptr_t MBOLT_SWD_GetU8(uintptr_t);
intptr_t MBOLT_SWD_SetDirIn(void);
intptr_t MBOLT_SWD_SetDirOut(void);
intptr_t MBOLT_SWD_StoreGetRaw(uintptr_t, uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_SWD_StoreRaw(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_SWD_SyncBits(void);
intptr_t MBOLT_SWD_SyncBytes(void);

/* ---- MBOLT_SWO_: serial wire output (SWO): control, speeds, data ---- */
intptr_t MBOLT_SWO_Control(uintptr_t, uintptr_t);
intptr_t MBOLT_SWO_Read(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_TIF_: target interfaces: which there are, which one is used ---- */
intptr_t MBOLT_TIF_GetAvailable(uintptr_t);
intptr_t MBOLT_TIF_Select(uintptr_t);

/* ---- MBOLT_TRACE_: trace: control, instructions, items ---- */
intptr_t MBOLT_TRACE_AddInst(uintptr_t, uintptr_t);
intptr_t MBOLT_TRACE_AddItems(uintptr_t, uintptr_t);
intptr_t MBOLT_TRACE_Control(uintptr_t, uintptr_t);
intptr_t MBOLT_TRACE_Read(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_VQXERMINAL_: the terminal channel to the target: control and data ---- */
intptr_t MBOLT_VQXERMINAL_Control(uintptr_t, uintptr_t);
intptr_t MBOLT_VQXERMINAL_Read(uintptr_t, uintptr_t, uintptr_t);
intptr_t MBOLT_VQXERMINAL_Write(uintptr_t, uintptr_t, uintptr_t);

/* ---- MBOLT_WA_: WA ranges ---- */
intptr_t MBOLT_WA_AddRange(uintptr_t, uintptr_t);
intptr_t MBOLT_WA_Restore(void);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
