/*
 * Brenholt: the Ethernet link of a host application to Tavrin operator panels.
 *
 * The module (brenholt.so) exports one data symbol, FuncTable. Load the module with dlopen, look the
 * symbol up with dlsym(module, BRENHOLT_TABLE_SYMBOL) and use the address as a
 * `const BrenholtTable*`. The order of the slots is a contract and never changes.
 *
 * Text arguments are NUL-terminated UTF-16; the module copies them during the call. A null text
 * counts as an empty one. Buffers and out-parameters stay the host's: in posted mode they must stay
 * valid until IsBusy gives 0.
 *
 * Results are non-zero for success and 0 for failure; there are no error codes and no exceptions.
 * In posted mode a command slot gives 1 as soon as the command is posted (CmdDR gives 0); the outcome
 * is read from GetResult once IsBusy gives 0.
 *
 * Only one command may run at a time. IsBusy, Cancel, GetResult, GetTargetCpu, GetTargetVersion and
 * GetTargetIp may be called from any thread while it runs.
 *
 * This header compiles as C11 and as C++20.
 */
#ifndef BRENHOLT_BRENHOLT_H
#define BRENHOLT_BRENHOLT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define BRENHOLT_ASSERT(condition, text) static_assert(condition, text)
extern "C" {
#else
#include <uchar.h>
#define BRENHOLT_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/* The release that this header comes from. A minor release only adds; the table's 24 slots stay. */
#define BRENHOLT_VERSION_MAJOR 1
#define BRENHOLT_VERSION_MINOR 0
#define BRENHOLT_VERSION_PATCH 0
#define BRENHOLT_VERSION "1.0.0"

/* Name of the module's one exported symbol. */
#define BRENHOLT_TABLE_SYMBOL "FuncTable"

/* UDP ports of the protocol. */
enum {
    BRENHOLT_PORT_BEACON = 10250, /* host side: panels announce themselves here */
    BRENHOLT_PORT_PANEL = 10251,  /* panel side: commands go here */
    BRENHOLT_PORT_COMMAND = 10252 /* host side: commands come from here */
};

/* Processor kinds as GetTargetCpu gives them. */
enum { BRENHOLT_CPU_UNKNOWN = -1, BRENHOLT_CPU_ARM = 0, BRENHOLT_CPU_X86 = 1 };

/* Attribute bit of a directory in PanelDirEntry::dwAttributes. */
#define BRENHOLT_ATTRIBUTE_DIRECTORY 0x10u

/* A time: 100 ns units since 1 January 1601 UTC, as two words. */
typedef struct PanelFileTime {
    uint32_t dwLow;
    uint32_t dwHigh;
} PanelFileTime;

/* One entry of a panel folder (CmdDR). Names are 8-bit text in the system code page. */
typedef struct PanelDirEntry {
    uint32_t dwSize;           /* bytes, low 32 bits */
    PanelFileTime ftLastWrite; /* last write */
    uint32_t dwAttributes;     /* BRENHOLT_ATTRIBUTE_DIRECTORY marks a folder */
    char szName[260];          /* at most 255 bytes and a NUL */
} PanelDirEntry;

/* One discovered panel (GetUnits). Texts are 8-bit in the system code page, NUL-terminated. */
typedef struct BrenholtUnitRow {
    char szIp[256];      /* dotted decimal; bytes after the NUL are left as they were */
    char szProject[255]; /* filled up with NULs; cut to 255 bytes */
    char chEnd;          /* always 0 */
} BrenholtUnitRow;

BRENHOLT_ASSERT(sizeof(PanelDirEntry) == 276, "PanelDirEntry is 276 bytes");
BRENHOLT_ASSERT(offsetof(PanelDirEntry, szName) == 16, "the name follows four words");
BRENHOLT_ASSERT(sizeof(BrenholtUnitRow) == 512, "a unit row is 512 bytes");
BRENHOLT_ASSERT(offsetof(BrenholtUnitRow, szProject) == 256, "the project starts at byte 256");

/* The exported table. The comment before each slot gives its number. */
typedef struct BrenholtTable {
    /* 0: opens the link. `retries`: datagrams sent per exchange at most; `timeoutMs`: wait for each
     * reply; `asyncMode`: 0 runs commands on the caller's thread, non-zero posts them to the module's
     * worker. Non-zero when link and listener run; 0 when they ran already (the three settings are
     * taken all the same) or cannot run. A taken port is not reported. */
    int32_t (*Start)(int32_t retries, int32_t timeoutMs, int32_t asyncMode);
    /* 1: shows the search dialog and blocks until it is closed: 1 when the user confirmed a target; 0
     * when not, when there can be no window, or at once while another call is under way. Any
     * thread may call it. `reserved` is ignored. */
    int32_t (*SelectTarget)(int32_t reserved);
    /* 2: asks the panel for its three version words; each pointer may be null. */
    int32_t (*CmdVS)(uint16_t* a, uint16_t* b, uint16_t* c);
    /* 3: sends `length` bytes of memory with a text. */
    int32_t (*CmdML)(const uint8_t* block, int32_t length, const char16_t* text);
    /* 4 to 7, 10, 13: one datagram with a text. */
    int32_t (*CmdMD)(const char16_t* text);
    int32_t (*CmdFF)(const char16_t* text);
    int32_t (*CmdFD)(const char16_t* text);
    int32_t (*CmdEX)(const char16_t* text);
    /* 8: asks for a sign of life. */
    int32_t (*CmdTM)(void);
    /* 9: copies a panel folder with its subfolders into an existing host folder. */
    int32_t (*CmdGF)(const char16_t* remoteFolder, const char16_t* localFolder);
    int32_t (*CmdCL)(const char16_t* text);
    /* 11: lists a panel folder; gives the number of entries written. */
    int32_t (*CmdDR)(const char16_t* folder, int32_t maxEntries, PanelDirEntry* entries);
    /* 12: sends a host file (under 2 GiB). */
    int32_t (*CmdDL)(const char16_t* localPath, const char16_t* remoteText);
    int32_t (*CmdRM)(const char16_t* text);
    /* 14: fetches a panel file into a host folder; the old file is replaced only when it is whole. */
    int32_t (*CmdUP)(const char16_t* remotePath, const char16_t* localFolder);
    /* 15: stops link and listener; returns when their threads have ended. */
    void (*Stop)(void);
    /* 16: non-zero while a command is posted or runs. */
    int32_t (*IsBusy)(void);
    /* 17: asks the running command to end with 0. */
    void (*Cancel)(void);
    /* 18: outcome of the last command; 0 while one is posted or runs. */
    int32_t (*GetResult)(void);
    /* 19: writes at most `maxRows` rows of panels heard; gives the number written. */
    int32_t (*GetUnits)(int32_t maxRows, BrenholtUnitRow* rows);
    /* 20: makes the discovered panel with this address the target; 1, or 0 when none has it. */
    int32_t (*UseUnit)(const char16_t* address);
    /* 21 to 23: the target. The text stays valid until the target next changes. */
    int32_t (*GetTargetCpu)(void);
    int32_t (*GetTargetVersion)(void); /* hundredths: 123 is version 1.23 */
    const char16_t* (*GetTargetIp)(void);
    void* reserved[12]; /* always null */
} BrenholtTable;

BRENHOLT_ASSERT(sizeof(BrenholtTable) == 36 * sizeof(void*), "24 slots and 12 spare entries");

#ifdef __cplusplus
}
#endif

#endif
