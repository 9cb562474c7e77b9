/* TAVO library, plain C interface: status codes, callback types and the exported functions.
 * Self-contained for C99 and C++. Record structures are in records.h, the C++ object interface
 * in itavo.h. One thread at a time may use the library; one analysis or build runs at a time. */
#ifndef TAVO_TAVO_H
#define TAVO_TAVO_H

#include <stdint.h>

#if defined(_WIN32) && !defined(_WIN64)
#define TVO_CALL __stdcall
#else
#define TVO_CALL
#endif

#if !defined(TVO_API)
#if defined(_WIN32)
#define TVO_API
#else
#define TVO_API __attribute__((visibility("default")))
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Status codes. A status is 32 bits wide and only its low 16 bits carry the code: test
 * TVO_CODE(status). Codes that no function returns are reserved in the same numbering. */
#define TVO_CODE(status) ((uint16_t)((status)&0xFFFFu))
enum {
  TVO_OK = 0,
  TVO_ERR_NOT_STORABLE = 5,      /* record type that the store does not keep or search */
  TVO_ERR_STORE = 2560,          /* the store could not position on, or access, the record */
  TVO_ERR_RECORD_TYPE = 2561,    /* record type unknown or not convertible */
  TVO_ERR_LOOKUP = 2562,         /* lookup not offered for this record type */
  TVO_ERR_NO_DATA_FILE = 2563,   /* TVO_Build with TVO_Read could not open the data file */
  TVO_ERR_DATA_FILE = 2564,      /* the data file could not be opened or created */
  TVO_ERR_DATA_FILE_OPEN = 2565, /* a data file is already open */
  TVO_ERR_ERRORS_FOUND = 2566,   /* the analysis ran to its end and logged errors */
  TVO_ERR_NO_RECORD = 2567,      /* record unreadable, or no writer for its type */
  TVO_ERR_DUPLICATE = 2569,      /* the record is already stored */
  TVO_ERR_NOT_FOUND = 2570,      /* no such record, no such name */
  TVO_ERR_OPEN = 2571,           /* a file could not be opened or created */
  TVO_ERR_WRITE = 2572,          /* a write or the closing of a file failed */
  TVO_ERR_ABORTED = 2574         /* the callback asked to stop */
};

/* Moves of TVO_Read and modes of a TVO_RecordSource. */
enum { TVO_CURRENT = 0, TVO_NEXT = 1, TVO_PREVIOUS = 2, TVO_FIRST = 3, TVO_LAST = 4 };

/* Receives one record per call; the record is valid during the call only. A result whose low 16
 * bits are TVO_ERR_ABORTED stops the analysis, every other result is ignored. */
typedef uint32_t(TVO_CALL* TVO_RecordSink)(uint32_t recordType, const void* record);

/* Delivers one record per call and returns 0, or a non-zero status when there is none. */
typedef uint16_t(TVO_CALL* TVO_RecordSource)(uint32_t mode, uint32_t* recordType, void** record);

/* Numbers of decimals that the writers use (initially 4, 4, 10). */
typedef struct TVO_Decimals {
  uint8_t angular;    /* directions and angles, in the angular unit */
  uint8_t linear;     /* coordinates and distances, in the linear unit */
  uint8_t geographic; /* latitudes and longitudes */
} TVO_Decimals;

/* Reads and checks the text file inputPath, logs every finding to logPath and hands each record to
 * callback. With TVO_Write as callback the records fill a new data file. maxErrors is the number
 * of errors after which the next one ends the run. errors and warnings receive the counts; either
 * may be null. Result: TVO_OK, TVO_ERR_ERRORS_FOUND, TVO_ERR_OPEN, TVO_ERR_WRITE, TVO_ERR_ABORTED.
 */
TVO_API uint32_t TVO_CALL TVO_Analyse(const char* inputPath, const char* logPath,
                                      TVO_RecordSink callback, uint16_t maxErrors, uint16_t* errors,
                                      uint16_t* warnings);

/* Writes a text file from the records that callback delivers (normally TVO_Read). Result: TVO_OK,
 * TVO_ERR_NO_DATA_FILE, TVO_ERR_OPEN, TVO_ERR_NO_RECORD, TVO_ERR_WRITE or TVO_ERR_ABORTED. */
TVO_API uint16_t TVO_CALL TVO_Build(const char* outputPath, TVO_RecordSource callback);

/* Switches column-aligned output on (not 0, the initial state) or off (0). Called by the callback
 * of a running TVO_Build, off holds from the next line on and on from the next block on. Always 0.
 */
TVO_API uint32_t TVO_CALL TVO_SetColumns(uint8_t flag);

/* Set and get the numbers of decimals of written values; new ones hold from the next line on, also
 * for a TVO_Build that is running. Always 0. */
TVO_API uint32_t TVO_CALL TVO_SetDecimals(const TVO_Decimals* decimals);
TVO_API uint32_t TVO_CALL TVO_GetDecimals(TVO_Decimals* decimals);

/* Finds the first stored record of the type, makes it the current record and copies it to record.
 * Result: 0, 5, TVO_ERR_RECORD_TYPE, TVO_ERR_NOT_FOUND, TVO_ERR_NO_RECORD, TVO_ERR_DATA_FILE. */
TVO_API uint32_t TVO_CALL TVO_Find(uint32_t recordType, void* record);

/* Replaces the current record by *record, which is of the stored record's type. */
TVO_API uint32_t TVO_CALL TVO_Update(const void* record);

/* Deletes the current record and copies it to record. */
TVO_API uint32_t TVO_CALL TVO_Delete(void* record);

/* Moves along the records (TVO_CURRENT, TVO_NEXT, TVO_PREVIOUS, TVO_FIRST, TVO_LAST) and delivers
 * the record's type and a pointer to the library's buffer, valid until the next read. */
TVO_API uint16_t TVO_CALL TVO_Read(uint32_t move, uint32_t* recordType, void** record);

/* Stores a record. When no data file is open, a new, empty one is created first. */
TVO_API uint32_t TVO_CALL TVO_Write(uint32_t recordType, const void* record);

/* Sets the data file's path and creates a new, empty data file there. */
TVO_API uint32_t TVO_CALL TVO_SetDataFile(const char* path);

/* Opens an existing data file; one that is open under another path is closed first. */
TVO_API uint32_t TVO_CALL TVO_OpenDataFile(const char* path);

/* Closes the data file. Always 0. */
TVO_API uint32_t TVO_CALL TVO_CloseDataFile(void);

#ifdef __cplusplus
}
#endif

#endif /* TAVO_TAVO_H */
