#ifndef VORTIC_H
#define VORTIC_H

/* Interface of the driver library libVortic_x64.so: types and prototypes, nothing else.
 *
 * The program loads the library at run time and calls it by name. One probe is open at a time; all
 * calls come from one thread. Pointers handed in are not kept behind the call, except the handlers.
 * Texts are UTF-8; a text that is returned stays valid until the next call. Nothing throws, nothing
 * ends the process: what fails has a negative result where there is one, and is reported through
 * the error handler with a text that a person can act on. */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef void VORTIC_TEXT_HANDLER(const char* sText);

/* Result codes of lookups and lists. */
#define VORTIC_OK 0
#define VORTIC_ERR_GENERAL (-1)
#define VORTIC_ERR_UNSUPPORTED (-262)
#define VORTIC_ERR_NO_MEMORY (-263)

/* Target interfaces, as bits of VORTICARM_TIF_GetAvailable and argument of VORTICARM_TIF_Select. */
#define VORTIC_TIF_SPI 5
#define VORTIC_TIF_QSPI 14

/* Capabilities of VORTICARM_EMU_HasCapEx. */
#define VORTIC_CAP_FILE_IO 26
#define VORTIC_CAP_RENAME 54 /* folder listings and renaming */
#define VORTIC_CAP_STANDALONE_SPI 72

/* ---- Selecting a probe; before it is opened. ---- */
int VORTICARM_SelectUSB(int32_t Port);                     /* 0 to 3; 0, or -1 */
int VORTICARM_EMU_SelectByUSBSN(uint32_t SerialNo);        /* -1: not found */
int VORTIC_EMU_SelectByUSBNickname(const char* sNickname); /* -1: not found */
int VORTICARM_SelectIP(const char* sHost, int32_t Port);   /* 0, or -1 */

/* ---- Opening. Null: open; else a text that tells why not, with the words "is in use" when
 * somebody else has the probe. pfLog gets the lines that belong in the user's log whatever its
 * level. ---- */
const char* VORTICARM_OpenEx(void* pReserved, VORTIC_TEXT_HANDLER* pfLog);
void VORTICARM_Close(void);
void VORTICARM_SetErrorOutHandler(VORTIC_TEXT_HANDLER* pfError);
int VORTICARM_SetLogFile(const char* sFileName); /* null: no log file; 0, or -1 */

/* ---- What is connected. ---- */
int32_t VORTICARM_EMU_GetProductId(void);
int32_t VORTICARM_GetSN(void); /* negative fails */
uint32_t VORTIC_GetHardwareVersion(void);
int VORTICARM_EMU_HasCapEx(int32_t Capability); /* non-zero: present */
uint32_t VORTICARM_GetDLLVersion(void);         /* major * 10000 + minor * 100 + revision */
const char* VORTICARM_GetCompileDateTime(void);
int VORTICARM_ReadEmuConfigMem(uint8_t* pBuffer, uint32_t Offset, uint32_t NumBytes);

/* ---- Target. ---- */
int VORTICARM_TIF_GetAvailable(uint32_t* pMask); /* 0, or negative */
int VORTICARM_TIF_Select(int32_t Interface);     /* the interface selected before, or negative */
void VORTICARM_SetSpeed(uint32_t SpeedkHz);
uint32_t VORTICARM_GetSpeed(void); /* kHz in the low 16 bits */

typedef struct {
  uint16_t VTarget; /* mV */
  uint8_t abPins[6];
} VORTIC_HW_STATUS;
int VORTICARM_GetHWStatus(VORTIC_HW_STATUS* pStatus); /* 0: success */

/* "SuppressGUI = 0|1", "SupplyPower = 0|1", "DisablePowerSupplyOnClose", "SetVTrefTmp <mV>",
 * "SelectModule = <n>". Negative fails, with a text in pError. A simulated probe also knows
 * "SimGetStats", which writes its figures into pError.
 * SelectModule is run while no probe is open; it counts from the next opening of the probe that is
 * chosen then, until it is run again. 0 is the hub of a gang programmer, 1 to 24 its modules. */
int VORTICARM_ExecCommand(const char* sCommand, char* pError, int32_t ErrorSize);
void VORTICARM_ClrRESET(void); /* reset low, the target is held */
void VORTICARM_SetRESET(void);
void VORTICARM_ClrTMS(void); /* chip select active */
void VORTICARM_SetTMS(void);

/* ---- SPI. Flags as in VORTIC_SPI_CMD. ---- */
int VORTIC_SPI_Transfer(const uint8_t* pWrite, uint8_t* pRead, uint32_t NumBits, uint32_t Flags);

/* One phase of a frame. 48 bytes, little-endian. */
typedef struct {
  uint32_t Type; /* 1 transfer, 2 poll */
  uint32_t Reserved;
  const uint8_t* pWrite; /* or null: nothing is sent */
  uint8_t* pRead;        /* or null: nothing is taken */
  uint32_t NumBits;
  uint32_t Flags;
  const void* pPara; /* type 2: a VORTIC_POLL_PARA */
  uint32_t ParaSize; /* not looked at */
  int32_t Result;    /* transfer with pWrite: bytes sent; without: 0; poll: 0; negative: failed */
} VORTIC_SPI_CMD;

/* Reads the byte of the open frame again until (byte & Mask) == Expected. Timeout in microseconds
 * of the probe's clock. */
typedef struct {
  uint32_t Reserved, Mask, Expected, Timeout;
} VORTIC_POLL_PARA;

#define VORTIC_SPI_CS_ACTIVE 0x002u /* chip select goes active before this phase */
#define VORTIC_SPI_CS_INACTIVE 0x00Cu
#define VORTIC_SPI_LANES_MASK 0x300u
#define VORTIC_SPI_LANES_SINGLE 0x100u
#define VORTIC_SPI_LANES_QUAD 0x200u
#define VORTIC_SPI_DATA_QUAD 0x400u
#define VORTIC_SPI_DUMMY 0x800u

/* ---- Files of a stand-alone programmer. Paths inside it have backslashes, may start with one, and
 * several of them in a row count as one. A name has up to 63 bytes.
 *
 * Write: bytes written, negative failed; folders on the way are made. With null data and no count
 * it makes a file of Offset bytes, all 0, in place of one that is there; the result is 0 then.
 * Read: bytes read, fewer behind the end of the file. GetSize: negative for a folder, and where
 * there is nothing. Delete: a folder goes with all of its contents; negative failed, also where
 * there is nothing, which is not reported as an error. ---- */
int32_t VORTICARM_EMU_FILE_Write(const char* sFile, const uint8_t* pData, uint32_t Offset,
                                 uint32_t NumBytes);
int32_t VORTICARM_EMU_FILE_Read(const char* sFile, uint8_t* pData, uint32_t Offset,
                                uint32_t NumBytes);
int32_t VORTICARM_EMU_FILE_GetSize(const char* sFile);
int32_t VORTICARM_EMU_FILE_Delete(const char* sFile);

/* ---- Functions by index: null when the probe has no such function. ---- */
typedef void (*VORTIC_FUNC)(void);
VORTIC_FUNC VORTIC_GetpFunc(int32_t Index);

#define VORTIC_FUNC_RUN_LIST 1
#define VORTIC_FUNC_WAIT 43
#define VORTIC_FUNC_LEAVE_FAST 44
#define VORTIC_FUNC_ENTER_FAST 45
#define VORTIC_FUNC_FAST_PROGRAM 46
#define VORTIC_FUNC_FAST_VERIFY 47
#define VORTIC_FUNC_FAST_ERASE 48
#define VORTIC_FUNC_LIST_DIR 50
#define VORTIC_FUNC_RENAME 51
#define VORTIC_FUNC_ENTER_FAST_EX 72

typedef int VORTIC_RUN_LIST(VORTIC_SPI_CMD* pList, uint32_t NumRecords);
typedef int VORTIC_ENTER_FAST(const void* pPara); /* FAST_MODE_PARA, 56 bytes; _EX: 64 bytes */
typedef int VORTIC_LEAVE_FAST(void);
typedef int VORTIC_FAST_PROGRAM(uint32_t Addr, uint32_t NumBytes, const uint8_t* pData);
typedef int VORTIC_FAST_VERIFY(uint32_t Addr, uint32_t NumBytes, const uint8_t* pData);
typedef int VORTIC_FAST_ERASE(uint32_t Addr, uint32_t NumBytes);
typedef int VORTIC_WAIT(uint32_t* pFailAddr); /* 0 done, positive busy, negative failed */

/* One entry of a folder listing. 276 bytes, little-endian. The name comes from the programmer: it
 * need not be terminated, nor be one that is safe on the host. Times are those of its clock. */
typedef struct {
  char acName[256];
  uint32_t Size;       /* bytes */
  uint32_t Attributes; /* VORTIC_DIR_ENTRY_FOLDER */
  uint16_t Year, Month, Day, Hour, Minute, Second;
} VORTIC_DIR_ENTRY;

#define VORTIC_DIR_ENTRY_FOLDER 0x1u

/* Number of entries in the folder, which may be more than fit; the first MaxEntries are filled in.
 * An empty path is the uppermost folder. Negative failed, VORTIC_ERR_UNSUPPORTED: the probe can't
 * list folders. */
typedef int VORTIC_LIST_DIR(const char* sPath, VORTIC_DIR_ENTRY* paEntries, uint32_t MaxEntries);
/* The new path comes first. Moves as well; never replaces what is there. 0, or negative as above.
 * With empty paths it only answers whether there is such a function. */
typedef int VORTIC_RENAME(const char* sNewPath, const char* sOldPath);

#ifdef __cplusplus
}
#endif

#endif
