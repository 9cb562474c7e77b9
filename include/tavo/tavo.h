/* TAVO library, plain C interface: status codes, callback types and the exported functions.
 * Self-contained for C99 and C++. Record structures are in records.h, the C++ object interface
 * in itavo.h.
 *
 * Threads: the library has one state, without locks. One thread at a time may use it, and one
 * analysis or build runs at a time: a callback may call the functions of the store and of the
 * settings, but neither TVO_Analyse nor TVO_Build nor ITavo::Analyse.
 *
 * Paths end with a zero byte and are taken as the system's plain file functions take them: on Linux
 * byte for byte, on Windows in the process's ANSI code page. A relative path counts from the
 * current folder of the moment in which the file is opened. A data file's path has at most 1023
 * bytes (Windows itself may allow fewer).
 *
 * Callbacks must not throw and must not jump out of the call (longjmp). On Linux, and in a program
 * of the library's own compiler, an exception that reaches the library all the same ends the run:
 * its files are closed and the result is TVO_ERR_WRITE. On Windows an exception of another
 * compiler, or a structured one, passes the library's frames by and leaves its state undefined. No
 * function of the library lets an exception out. */
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
 * TVO_CODE(status). Where the cause lies in the store's engine, the high 16 bits may be the
 * engine's (0xFFFF); they mean nothing else. Codes that no function returns are reserved in the
 * same numbering. */
#define TVO_CODE(status) ((uint16_t)((status)&0xFFFFu))
enum {
  TVO_OK = 0,
  TVO_ERR_NOT_STORABLE = 5,      /* record type that the store does not keep or search */
  TVO_ERR_STORE = 2560,          /* the store could not position on, or access, the record */
  TVO_ERR_RECORD_TYPE = 2561,    /* record type unknown or not convertible */
  TVO_ERR_LOOKUP = 2562,         /* lookup not offered for this record type (reserved) */
  TVO_ERR_NO_DATA_FILE = 2563,   /* TVO_Build with TVO_Read could not open the data file */
  TVO_ERR_DATA_FILE = 2564,      /* the data file could not be opened or created */
  TVO_ERR_DATA_FILE_OPEN = 2565, /* a data file is already open */
  TVO_ERR_ERRORS_FOUND = 2566,   /* the analysis ran to its end and logged errors */
  TVO_ERR_NO_RECORD = 2567,      /* record unreadable, or no writer for its type */
  TVO_ERR_DUPLICATE = 2569,      /* the record is already stored */
  TVO_ERR_NOT_FOUND = 2570,      /* no such record */
  TVO_ERR_OPEN = 2571,           /* a file could not be opened or created */
  TVO_ERR_WRITE = 2572,          /* a write or the closing of a file failed, or memory ran out */
  TVO_ERR_ABORTED = 2574         /* the callback asked to stop */
};

/* Codes of the store's engine that TVO_Write, TVO_Update, TVO_Delete and, for a null record,
 * TVO_Find pass on. Each is 65536 less a small number, that is a negative status:
 *
 *   65535  the system refused to read or write
 *   65534  the record is null
 *   65532  the file's head could not be read or written, or no record number is left
 *   65528  a page could not be written, the disk is full (TVO_Write: TVO_ERR_WRITE instead)
 *   65527  the file ends too early
 *   65518  a part of the record is missing
 *   65510  a text of the record does not end inside its member (TVO_Update alone)
 *   65506  a page of the file is damaged
 *   65505  no room could be reserved in the file
 *   65502  memory ran out
 *   65496  the file was left in the middle of a write
 *   other  the file is damaged */

/* Moves of TVO_Read and modes of a TVO_RecordSource. */
enum { TVO_CURRENT = 0, TVO_NEXT = 1, TVO_PREVIOUS = 2, TVO_FIRST = 3, TVO_LAST = 4 };

/* Receives one record per call. The record, with what it points to, is valid during the call only;
 * its structure is the one that records.h gives for the type, and it may lie at any address. A
 * result whose low 16 bits are TVO_ERR_ABORTED stops the analysis, every other result is ignored.
 */
typedef uint32_t(TVO_CALL* TVO_RecordSink)(uint32_t recordType, const void* record);

/* Delivers one record per call: stores its type and a pointer to it, which must hold until the next
 * call, and returns 0. Asked with TVO_FIRST once, then with TVO_NEXT, and with TVO_PREVIOUS where
 * columns are to be aligned: the records of a block are then passed through twice. Without a record
 * it returns a status that is not 0; TVO_ERR_ABORTED stops the build, every other one is the normal
 * end of the records, a failure of the source included. */
typedef uint16_t(TVO_CALL* TVO_RecordSource)(uint32_t mode, uint32_t* recordType, void** record);

/* Numbers of decimals that the writers use (initially 4, 4, 10). More than 30 count as 30. */
typedef struct TVO_Decimals {
  uint8_t angular;    /* directions and angles, in the angular unit */
  uint8_t linear;     /* coordinates and distances, in the linear unit */
  uint8_t geographic; /* latitudes and longitudes */
} TVO_Decimals;

/* Reads and checks the text file inputPath, writes every finding to logPath (replaced when it is
 * there) with a summary at the end, and hands each record to callback in the order of the text.
 *
 * callback may be null: the text is only checked. With TVO_Write itself as callback a new data file
 * is made first, at the path of the last TVO_SetDataFile or TVO_OpenDataFile and in place of
 * whatever has that name, and the records fill it. What TVO_Write answers is then ignored like
 * every callback's result: records that are stored already (TVO_ERR_DUPLICATE), that the store does
 * not keep (5) or that the disk has no room for are left out without a word. To see that, call
 * TVO_SetDataFile and pass a callback of your own that calls TVO_Write.
 *
 * maxErrors: behind this many errors the next one is not logged and ends the run. With 0 the first
 * error ends it uncounted, and the result is TVO_OK. errors and warnings receive the counts (modulo
 * 65536); either may be null. They are left alone when a file could not be opened.
 *
 * The data file is closed at the end, whatever happened. Result, the first that applies:
 *   TVO_ERR_OPEN          a path is null, a text file or the data file cannot be opened or made, or
 *                         one file is named for two purposes (input, log, data file). Nothing is
 *                         logged.
 *   TVO_ERR_ABORTED       the callback asked to stop
 *   TVO_ERR_WRITE         reading, the log or the closing of the data file failed, or memory ran
 *                         out: records or findings are missing
 *   TVO_ERR_ERRORS_FOUND  errors were logged; lines with errors have given no record
 *   TVO_OK                none were; there may be warnings */
TVO_API uint32_t TVO_CALL TVO_Analyse(const char* inputPath, const char* logPath,
                                      TVO_RecordSink callback, uint16_t maxErrors, uint16_t* errors,
                                      uint16_t* warnings);

/* Writes the text file outputPath, which is replaced when it is there, from the records that
 * callback delivers. With TVO_Read itself as callback they are those of the data file, which is
 * opened when it is closed. The data file is closed at the end, whatever happened. Result:
 *   TVO_OK                the source had no more records; without any the text is empty
 *   TVO_ERR_NO_DATA_FILE  callback is TVO_Read, and the data file cannot be opened
 *   TVO_ERR_OPEN          the path or callback is null, the text cannot be made, or it would
 *                         replace the data file
 *   TVO_ERR_NO_RECORD     a record came that begins no section (only columns records do, up to type
 *                         102); the text up to it stays
 *   TVO_ERR_WRITE         a write failed or memory ran out; the text is deleted
 *   TVO_ERR_ABORTED       the callback asked to stop; the text is deleted */
TVO_API uint16_t TVO_CALL TVO_Build(const char* outputPath, TVO_RecordSource callback);

/* Switches column-aligned output on (not 0, the initial state) or off (0). Called by the callback
 * of a running TVO_Build, off holds from the next line on and on from the next block on. Always 0.
 */
TVO_API uint32_t TVO_CALL TVO_SetColumns(uint8_t flag);

/* Set and get the numbers of decimals of written values; new ones hold from the next line on, also
 * for a TVO_Build that is running. Null is ignored. Always 0. */
TVO_API uint32_t TVO_CALL TVO_SetDecimals(const TVO_Decimals* decimals);
TVO_API uint32_t TVO_CALL TVO_GetDecimals(TVO_Decimals* decimals);

/* The store. One data file is open at a time, and no other user of the library can open it then.
 * Its path is initially "C:\TMPTVODB.DAT"; on Linux that is the name of a file in the current
 * folder, backslash and all. The functions on records open the data file when none is open, and
 * leave it open; TVO_ERR_DATA_FILE says that this failed, also for want of memory.
 *
 * The current record is the one last written, found or moved to. A move, search or write that fails
 * leaves none, or one that was not asked for; a write that is refused as a duplicate leaves the
 * stored one.
 *
 * Records are packed structures of the sizes in records.h, 640 bytes at most, and may lie at any
 * address. */

/* Finds the first stored record of the type, makes it the current record and copies it to record,
 * which must be readable and have room for the type's structure. Result: TVO_OK, TVO_ERR_NOT_FOUND,
 * TVO_ERR_RECORD_TYPE (below 1 or above 107), 5 (77 to 107 cannot be searched for),
 * TVO_ERR_NO_RECORD (the search failed or the record cannot be read), TVO_ERR_DATA_FILE, 65534. */
TVO_API uint32_t TVO_CALL TVO_Find(uint32_t recordType, void* record);

/* Replaces the current record by *record, a structure of the stored record's type, whose texts end
 * inside their members. Result: TVO_OK, TVO_ERR_STORE (no current record), TVO_ERR_RECORD_TYPE (the
 * stored type cannot be converted), TVO_ERR_DATA_FILE, or a code of the engine. */
TVO_API uint32_t TVO_CALL TVO_Update(const void* record);

/* Deletes the current record and copies it to record, which has room for the stored record's type
 * (640 bytes are always enough) or is null. Leaves no current record. Result: as TVO_Update. */
TVO_API uint32_t TVO_CALL TVO_Delete(void* record);

/* Moves along the records (TVO_NEXT, TVO_PREVIOUS, TVO_FIRST, TVO_LAST; TVO_CURRENT stays) in the
 * order of the sections, and within a type in the order written. Delivers the record's type and a
 * pointer to the library's buffer; either place may be null. The buffer is valid until the next
 * call of any function of the store, of TVO_Analyse or TVO_Build, and may be given to TVO_Update.
 * Result: TVO_OK, TVO_ERR_STORE (no record there, or another move), TVO_ERR_RECORD_TYPE (type 91
 * and types unknown to the library cannot be converted), TVO_ERR_NO_RECORD (unreadable),
 * TVO_ERR_DATA_FILE.
 */
TVO_API uint16_t TVO_CALL TVO_Read(uint32_t move, uint32_t* recordType, void** record);

/* Stores a record as the current one. When no data file is open, a new, empty one is made first, in
 * place of whatever has the data file's name: to add to a file, call TVO_OpenDataFile before.
 * Texts are cut to end inside their members; of type 91 the fixed part alone is kept. Result:
 *   TVO_OK               stored
 *   5                    types 77 to 89, 92 to 97 and 103 to 107 are not kept
 *   TVO_ERR_RECORD_TYPE  below 1 or above 107
 *   TVO_ERR_DUPLICATE    columns records of the types 1 to 4, 9 to 15, 23 to 32, 43, 45 to 47, 55,
 *                        58, 60, 61 and 64 to 76 are kept once; a point (34) once by its PointNo,
 *                        by its PointID where that is 0
 *   TVO_ERR_NO_RECORD    the search for the duplicate failed
 *   TVO_ERR_DATA_FILE    the new data file cannot be made
 *   TVO_ERR_WRITE        a write failed, the disk is full
 *   else                 a code of the engine */
TVO_API uint32_t TVO_CALL TVO_Write(uint32_t recordType, const void* record);

/* Sets the data file's path, deletes whatever file has it, and makes a new, empty data file there,
 * which stays open. Result: TVO_OK; TVO_ERR_DATA_FILE_OPEN with nothing changed while a data file
 * is open; TVO_ERR_OPEN when the path is null or too long (nothing changed), or no file can be made
 * there (the path is kept). */
TVO_API uint32_t TVO_CALL TVO_SetDataFile(const char* path);

/* Sets the data file's path and opens the data file there. A data file that is open under the same
 * path, byte for byte, stays as it is (TVO_OK), one of another path is closed first. Result:
 * TVO_OK, or TVO_ERR_DATA_FILE: the path is null or too long (nothing changed), or there is no data
 * file, or somebody else has it open (the path is kept, and no data file is open). */
TVO_API uint32_t TVO_CALL TVO_OpenDataFile(const char* path);

/* Writes what is pending and closes the data file, if one is open. Always 0. */
TVO_API uint32_t TVO_CALL TVO_CloseDataFile(void);

#ifdef __cplusplus
}
#endif

#endif /* TAVO_TAVO_H */
