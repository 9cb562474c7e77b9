/* TAVO survey layer, plain C interface: reads, checks, keeps and writes TAVO surveys by handle, for
 * any number of handles in any number of threads. Self-contained for C99 and C++; the C++ interface
 * over it is survey.hpp.
 *
 * Three ways to use it, from short to long:
 *   - a whole survey in memory:   tavo_survey_read, tavo_survey_records, tavo_survey_build
 *   - record by record:           tavo_analyse with a record sink, tavo_build with a record source
 *   - records in a data file:     tavo_store_open, tavo_store_write, tavo_store_find, ...
 *
 * Rules that hold everywhere
 *   - A handle is used by one thread at a time; different handles need no care. There is no global
 *     state, no locale and no environment variable behind any call.
 *   - Paths are UTF-8 on every platform. Texts of a file are bytes as the file has them.
 *   - Functions that can fail return a tavo_status: 0, a code of tavo.h, or one of the layer's own
 *     below. A handle comes out through the first parameter, which is null after a failure.
 * Pointers that a function returns directly belong to their parent and live as long as it does.
 *   - Option structures begin with their version; start from the initialiser, so that members that
 *     later versions append have their default. A null options pointer means the defaults.
 *   - Nothing that comes from a file or a caller is trusted: damaged files give statuses, null
 *     pointers where one is needed give TAVO_ERR_ARGUMENT.
 *   - A callback must not throw and must not use the handle that calls it. */
#ifndef TAVO_SURVEY_H
#define TAVO_SURVEY_H

#include <stddef.h>
#include <stdint.h>

#include "tavo/records.h"

#if defined(_WIN32)
#if defined(TAVO_SURVEY_BUILD)
#define TAVO_API __declspec(dllexport)
#elif defined(TAVO_SURVEY_STATIC)
#define TAVO_API
#else
#define TAVO_API __declspec(dllimport)
#endif
#else
#define TAVO_API __attribute__((visibility("default")))
#endif

#define TAVO_VERSION_MAJOR 1
#define TAVO_VERSION_MINOR 1
#define TAVO_VERSION_PATCH 0

#ifdef __cplusplus
extern "C" {
#endif

/* --- Statuses -----------------------------------------------------------------------------------
 */

/* 0, a TVO code of tavo.h (2560 to 2574, 5), or one of these. */
typedef uint32_t tavo_status;
enum {
  TAVO_OK = 0,
  TAVO_ERR_MEMORY = 2575,   /* out of memory */
  TAVO_ERR_ARGUMENT = 2576, /* a null pointer, a number out of range, an options version unknown */
  TAVO_ERR_INPUT = 2577,    /* the input broke off: a read failed */
  TAVO_ERR_CANCELLED = 2578 /* the progress callback asked to stop */
};

/* One sentence on a status, without a full stop; never null. */
TAVO_API const char* tavo_status_text(tavo_status status);

/* "1.1.0": the version of the library that runs, which may be newer than the header's. */
TAVO_API const char* tavo_version(void);

/* --- Where bytes come from and go to ------------------------------------------------------------
 */

/* Reads up to `room` bytes: their number, 0 at the end, -1 on failure. */
typedef int64_t (*tavo_read_fn)(void* bytes, size_t room, void* user);
/* Takes all `size` bytes: 0, or another value on failure. */
typedef int (*tavo_write_fn)(const void* bytes, size_t size, void* user);

/* A text to read: the first of path, bytes and read that is not null. Start from TAVO_INPUT_INIT.
 */
typedef struct tavo_input {
  uint32_t version;
  const char* path;
  const void* bytes; /* used until the call ends */
  size_t size;       /* of bytes */
  tavo_read_fn read;
  void* user;       /* of read */
  const char* name; /* stands in the log's summary; null: path, or "" */
} tavo_input;
#define TAVO_INPUT_INIT \
  { 1, NULL, NULL, 0, NULL, NULL, NULL }

/* A text to write: the first of path, memory and write that is not null. A file takes its place
 * only when it is complete, a device or pipe is written as it comes; memory receives a block to be
 * freed with tavo_free, ended by a zero byte that memory_size does not count, or null. A file has
 * the platform's line ends, the others line feeds. Start from TAVO_TARGET_INIT, which is nowhere.
 */
typedef struct tavo_target {
  uint32_t version;
  const char* path;
  char** memory;
  size_t* memory_size;
  tavo_write_fn write;
  void* user; /* of write */
} tavo_target;
#define TAVO_TARGET_INIT \
  { 1, NULL, NULL, NULL, NULL, NULL }

TAVO_API void tavo_free(void* memory);

/* Why a file cannot be opened. */
enum {
  TAVO_REASON_NONE = 0,
  TAVO_REASON_MISSING = 1, /* no such file or folder */
  TAVO_REASON_FOLDER = 2,
  TAVO_REASON_DENIED = 3, /* no permission */
  TAVO_REASON_HELD = 4,   /* another opener does not share it */
  TAVO_REASON_OTHER = 5   /* the system refuses it */
};

/* What a path names. */
enum { TAVO_PATH_MISSING = 0, TAVO_PATH_FILE = 1, TAVO_PATH_FOLDER = 2, TAVO_PATH_OTHER = 3 };
/* size, which may be null, receives the bytes of a file, else 0. */
TAVO_API uint32_t tavo_path_kind(const char* path, uint64_t* size);

/* A file to read. Others may read and write it meanwhile, but neither delete it nor keep it for
 * themselves. */
typedef struct tavo_file tavo_file;
/* TVO_ERR_OPEN with a reason, which may be null, when it cannot be opened. */
TAVO_API tavo_status tavo_file_open(tavo_file** out, const char* path, uint32_t* reason);
/* A tavo_read_fn, whose user is the file. */
TAVO_API int64_t tavo_file_read(void* bytes, size_t room, void* file);
/* Goes on `place` bytes behind the beginning; TAVO_ERR_INPUT where that cannot be, as in a pipe. */
TAVO_API tavo_status tavo_file_seek(tavo_file* file, uint64_t place);
TAVO_API void tavo_file_close(tavo_file* file);

/* A file that appears under its path only when it is complete: it is written beside it under a name
 * of its own and replaces what stands there at commit. */
typedef struct tavo_output tavo_output;

/* TVO_ERR_OPEN when no file can be made there. */
TAVO_API tavo_status tavo_output_create(tavo_output** out, const char* path);
/* Appends bytes as they are, and text with its line feeds in the platform's form. */
TAVO_API tavo_status tavo_output_write(tavo_output* output, const void* bytes, size_t size);
TAVO_API tavo_status tavo_output_write_text(tavo_output* output, const char* text, size_t size);
/* Path under which the output stands until its commit. Nothing is there before the first write, so
 * that another call, tavo_store_open for one, may make the file instead. */
TAVO_API const char* tavo_output_path(const tavo_output* output);
/* Ends the writing, so that another call may read the file at tavo_output_path; the output is still
 * to be committed or abandoned. TVO_ERR_WRITE when something could not be written. */
TAVO_API tavo_status tavo_output_close(tavo_output* output);
/* Puts the output in its place and frees the handle; TVO_ERR_WRITE when a write, the closing or the
 * replacing failed, in which case the target is as it was. */
TAVO_API tavo_status tavo_output_commit(tavo_output* output);
/* Removes what was written and frees the handle; null is allowed. */
TAVO_API void tavo_output_abandon(tavo_output* output);

/* 1 when both paths name one existing file, by whatever way; 0 when not, or when one is missing. */
TAVO_API int tavo_same_file(const char* a, const char* b);

/* Bytes done of all (0: not known). Another result than 0 stops the run with TAVO_ERR_CANCELLED.
 * Called for every block of some ten thousand bytes. */
typedef int (*tavo_progress_fn)(uint64_t done, uint64_t total, void* user);

/* --- Records and findings -----------------------------------------------------------------------
 */

/* Presence of fields: bit n is set when the record's line gave the field in place n of its block's
 * field table (tavo_schema_field_at). An empty column and a declared 0 are different things. An
 * EXTRAINFO line sets the bits of what it gives and clears those of what it empties; of a columns
 * record the bits are the fields declared. Lines of a fixed layout have no table: in
 * TIME_TAGGED_CODES bit 0 is the code, 1 the time tag, 2 the number and 3 + n the value of entry n;
 * in OPERATIONS bit 0 the operation, of its points bit 0 the number and bit 1 the identifier. */
typedef uint64_t tavo_given;
/* Of records from a plain data file, which keeps no presence. */
#define TAVO_GIVEN_UNKNOWN UINT64_MAX

typedef struct tavo_record {
  uint32_t type;     /* of records.h */
  uint32_t size;     /* bytes of the packed structure */
  const void* bytes; /* the packed structure */
  uint64_t line;     /* first physical line in the file, from 1; 0: not known. Of a columns record
                        the line of its block's keyword, of items that of the first one */
  tavo_given given;
  uint32_t block; /* running number in the file of the block that it stands in; 0: not known */
} tavo_record;

/* Receives a record, which is valid during the call. A result whose low 16 bits are TVO_ERR_ABORTED
 * stops the run with that status, every other result is ignored. */
typedef uint32_t (*tavo_record_fn)(const tavo_record* record, void* user);

/* Kinds of findings. */
enum { TAVO_NOTE = 0, TAVO_WARNING = 1, TAVO_ERROR = 2 };

/* Notes of the layer, which stand in no log. */
enum {
  TAVO_NOTE_WRAPPED = 7001, /* a whole number that does not fit its field: its low bits are kept */
  TAVO_NOTE_ROUNDED = 7002  /* a real with more digits than are kept; told once, then counted */
};

/* Something that an analysis found, valid during the call or as long as the survey that keeps it.
 * Texts are not ended by a zero byte and may hold any bytes. */
typedef struct tavo_finding {
  uint32_t number; /* 2000 to 2500, 7010 to 7014; a note of the log 7000, of the layer 7001, 7002 */
  uint32_t kind;
  uint64_t line;       /* of the file, from 1, never wrapped */
  uint32_t column;     /* first byte of the text in `source`, from 1; 0: it is not there */
  uint32_t length;     /* of the text in `source`, in bytes; of a note on a number that number's */
  const char* text;    /* the offending text, whole; of a note its sentence */
  size_t text_size;    /* of text, in bytes */
  const char* message; /* the log's words for the number, zero-terminated; "" for a note */
  const char* source;  /* the line of the file without its line end, of a line that is too long its
                          beginning; null where there is none, as for what was passed over */
  size_t source_size;  /* of source, in bytes */
} tavo_finding;

typedef void (*tavo_finding_fn)(const tavo_finding* finding, void* user);

/* --- Analysis -----------------------------------------------------------------------------------
 */

typedef struct tavo_analysis_options {
  uint32_t version;
  uint16_t max_errors; /* after so many the next error ends the run */
  tavo_target log;     /* nowhere: no log is written */
  tavo_record_fn on_record;
  void* record_user;
  tavo_finding_fn on_finding;
  void* finding_user;
  tavo_progress_fn on_progress;
  void* progress_user;
  /* 1: line and presence of points, lines and polygons may be 0, which saves the memory that they
   * take while their block is read; since version 2. */
  uint32_t plain_records;
} tavo_analysis_options;
#define TAVO_ANALYSIS_OPTIONS_INIT \
  { 2, UINT16_MAX, TAVO_TARGET_INIT, NULL, NULL, NULL, NULL, NULL, NULL, 0 }

/* What an analysis counted. Start from TAVO_ANALYSIS_COUNTS_INIT. */
typedef struct tavo_analysis_counts {
  uint32_t version;
  uint64_t lines;
  uint64_t records;
  uint64_t errors; /* never wrapped */
  uint64_t warnings;
  uint64_t comments;         /* comment lines and comments behind a terminator */
  uint64_t wrapped_integers; /* values too large for their field, of which the low bits were kept */
  uint64_t rounded_reals;    /* reals with digits beyond what their field keeps */
} tavo_analysis_counts;
#define TAVO_ANALYSIS_COUNTS_INIT \
  { 1, 0, 0, 0, 0, 0, 0, 0 }

/* Reads and checks a text and hands its records to options->on_record in the order of the file.
 * Every run defines its own columns of OPERATIONS. counts may be null. Status: TAVO_OK,
 * TVO_ERR_ERRORS_FOUND, TVO_ERR_OPEN (input or log cannot be opened, or are one file; nothing was
 * created), TVO_ERR_WRITE (the log), TVO_ERR_ABORTED, TAVO_ERR_CANCELLED, TAVO_ERR_INPUT,
 * TAVO_ERR_MEMORY, TAVO_ERR_ARGUMENT. With another status than the first two the log is left out.
 *
 * Beside what the log has there is a note for every whole number that its field cannot hold, and
 * for the first real number of which digits are lost; the counts have them all. */
TAVO_API tavo_status tavo_analyse(const tavo_input* input, const tavo_analysis_options* options,
                                  tavo_analysis_counts* counts);

/* --- A whole survey in memory --------------------------------------------------------------------
 */

typedef struct tavo_survey tavo_survey;

/* All records of a type, in file order: `count` packed structures, `size` bytes each, without gaps,
 * and beside them their lines and presence. Of time-tagged codes `entries` points into the survey.
 */
typedef struct tavo_records {
  uint32_t type;
  uint32_t size;
  size_t count;
  const void* bytes;
  const uint64_t* lines;
  const tavo_given* given;
} tavo_records;

/* Units and offsets in force. */
typedef struct tavo_units {
  TVO_EnumId angular, linear, geographic, temperature, pressure, date_order;
  double angular_factor, linear_factor, geographic_factor; /* of user units, else 1 */
  double offset_east, offset_north, offset_elevation;      /* metres */
} tavo_units;

/* A run of data records in file order. Walking the blocks gives back the file's order: for each
 * its columns record, unless it goes on with an earlier block, then its data records; of OPERATIONS
 * each operation is followed by the record of equal place among TVO_RECORD_OPERATION_POINTS. */
typedef struct tavo_block {
  uint32_t columns_type; /* record type of its columns record */
  uint32_t data_type;
  size_t first; /* place of its first record among those of data_type */
  size_t count;
  const void* columns_record; /* of TIME_TAGGED_CODES one that lists nothing */
  const TVO_FieldId* columns; /* declared fields, in their order */
  size_t column_count;
  uint32_t continued; /* 1: goes on with the columns of an earlier block */
  uint64_t line;      /* of its keyword; where it goes on, or lines have a fixed layout, of its
                         first record */
  const tavo_units* units;
} tavo_block;

/* A time-stamped record in the true order of time. */
typedef struct tavo_moment {
  int64_t time;  /* hundredths of a second, in months of 31 days: orders, does not measure */
  uint32_t type; /* TVO_RECORD_POINTS, _SETUP, _SLOPE or _TIME_TAGGED_CODES */
  size_t index;  /* among the records of that type */
} tavo_moment;

/* Reads a text whole. The survey also comes with TVO_ERR_ERRORS_FOUND; with every other failure out
 * is null. options->on_record is called beside. Statuses as for tavo_analyse. */
TAVO_API tavo_status tavo_survey_read(tavo_survey** out, const tavo_input* input,
                                      const tavo_analysis_options* options);
TAVO_API void tavo_survey_free(tavo_survey* survey);

TAVO_API const tavo_analysis_counts* tavo_survey_counts(const tavo_survey* survey);
/* Never null: a type without records has count 0. */
TAVO_API const tavo_records* tavo_survey_records(const tavo_survey* survey, uint32_t type);
TAVO_API size_t tavo_survey_block_count(const tavo_survey* survey);
/* Null behind the last. */
TAVO_API const tavo_block* tavo_survey_block(const tavo_survey* survey, size_t index);
TAVO_API size_t tavo_survey_finding_count(const tavo_survey* survey);
TAVO_API const tavo_finding* tavo_survey_finding(const tavo_survey* survey, size_t index);
/* Sorted at the first call; records without a year are left out. Null, with count 0, when there is
 * none or no memory for the order. */
TAVO_API const tavo_moment* tavo_survey_timeline(tavo_survey* survey, size_t* count);

/* --- Building -----------------------------------------------------------------------------------
 */

typedef struct tavo_build_options {
  uint32_t version;
  uint8_t align;               /* 1: columns are aligned */
  uint8_t angular_decimals;    /* directions and angles, in the angular unit */
  uint8_t linear_decimals;     /* coordinates and distances, in the linear unit */
  uint8_t geographic_decimals; /* latitudes, longitudes and other 64-bit reals */
} tavo_build_options;
#define TAVO_BUILD_OPTIONS_INIT \
  { 1, 1, 4, 4, 10 }

/* Delivers the record that a move (TVO_FIRST, TVO_NEXT, TVO_PREVIOUS) leads to: 0 with type and
 * bytes set, which stay valid until the next call; another status when there is none. The source
 * must be able to step back over the records of a block.
 *
 * Records that name their block come as an analysis or a complete data file delivers them: the
 * columns records that begin a section of OPERATIONS or TIME_TAGGED_CODES, which an analysis does
 * not always deliver, are put in front of its records and left out where there are none, and
 * columns that the format does not know, which have no values, are not written. Records without a
 * block are taken as they come. */
typedef uint32_t (*tavo_source_fn)(uint32_t move, tavo_record* record, void* user);

/* Writes a text. Status: TAVO_OK, TVO_ERR_OPEN, TVO_ERR_WRITE, TVO_ERR_ABORTED (from the source),
 * TVO_ERR_NO_RECORD (a record that begins no section), TAVO_ERR_MEMORY, TAVO_ERR_ARGUMENT (also
 * when the source says that there is a record and gives none). A target that is a path is left as
 * it was unless the result is TAVO_OK. */
TAVO_API tavo_status tavo_build(const tavo_target* target, tavo_source_fn source, void* user,
                                const tavo_build_options* options);
/* The same from a survey in memory, section by section in file order. */
TAVO_API tavo_status tavo_survey_build(const tavo_survey* survey, const tavo_target* target,
                                       const tavo_build_options* options);

/* --- Data files ---------------------------------------------------------------------------------
 */

typedef struct tavo_store tavo_store;

/* Kinds of data file. An existing file is of the kind that it was made as. */
enum {
  /* Of the functions of tavo.h, which read and write it: the record types that are storable there,
   * ordered by type, each point, line and polygon once. */
  TAVO_STORE_COMPATIBLE = 0,
  /* Every record in the order in which it was stored, with line, presence and block, and the values
   * of time-tagged codes. A text comes back from it whole. */
  TAVO_STORE_COMPLETE = 1
};

enum {
  TAVO_STORE_OPEN = 0,      /* an existing file, exclusively */
  TAVO_STORE_READ_ONLY = 1, /* an existing file, exclusively, changes are refused */
  TAVO_STORE_CREATE = 2     /* a new file; TVO_ERR_DATA_FILE when one is there */
};

typedef struct tavo_store_options {
  uint32_t version;
  uint32_t mode;
  uint32_t cache_pages; /* of 1024 bytes */
  /* Path of the file's journal, at most 1023 bytes, or null for none. With one, every change is on
   * the medium when its call returns, and one that was cut off is taken back by the next opener.
   * All who open the file must name the same one. */
  const char* journal;
  uint32_t kind; /* of a new file; since version 2, before that TAVO_STORE_COMPATIBLE */
} tavo_store_options;
#define TAVO_STORE_OPTIONS_INIT \
  { 2, TAVO_STORE_OPEN, 10, NULL, TAVO_STORE_COMPATIBLE }

/* Lookups of tavo_store_find. */
enum {
  TAVO_BY_TYPE = 1,   /* the first record of the type; in a complete file by a walk */
  TAVO_BY_LIST = 2,   /* the number of a subject, layer, list, code, job or configuration */
  TAVO_BY_NUMBER = 3, /* the number of a point, line, polygon, station or target */
  TAVO_BY_ID = 4      /* the identifier text beside that number */
};

TAVO_API tavo_status tavo_store_open(tavo_store** out, const char* path,
                                     const tavo_store_options* options);
/* Writes what is pending, closes the file and frees the handle, whatever the result. */
TAVO_API tavo_status tavo_store_close(tavo_store* store);
/* The store's own code behind the last call's failure (negative), or 0. TAVO_ENGINE_NONE: there is
 * no such record, and nothing went wrong. */
#define TAVO_ENGINE_NONE (-1)
TAVO_API int32_t tavo_store_engine_code(const tavo_store* store);

/* The kind of the file; of null TAVO_STORE_COMPATIBLE. */
TAVO_API uint32_t tavo_store_kind(const tavo_store* store);

/* Stores a record as the current one: 0, 5 (type not storable), TVO_ERR_RECORD_TYPE,
 * TVO_ERR_DUPLICATE, TVO_ERR_WRITE, TVO_ERR_STORE with an engine code. In a complete file it is
 * tavo_store_append of a record whose line, presence and block are not known; there every type is
 * storable and nothing a duplicate. */
TAVO_API tavo_status tavo_store_write(tavo_store* store, uint32_t type, const void* record);
/* The same with line, presence and block, which a complete file keeps: the record as an analysis or
 * another store delivers it, put behind all others. One of block 0 stands in the block of the
 * record before it, and a columns record or one of another kind of block begins the next one. The
 * size does not matter. */
TAVO_API tavo_status tavo_store_append(tavo_store* store, const tavo_record* record);
/* Moves (TVO_CURRENT to TVO_LAST) and delivers the record, valid until the next call on the store:
 * 0, TVO_ERR_STORE (engine code TAVO_ENGINE_NONE: no record there), TVO_ERR_RECORD_TYPE,
 * TVO_ERR_NO_RECORD (unreadable). Of a compatible file line and block are 0 and the presence is
 * TAVO_GIVEN_UNKNOWN. */
TAVO_API tavo_status tavo_store_read(tavo_store* store, uint32_t move, tavo_record* record);
/* Finds the first record of the type whose key equals that of `record` and makes it the current
 * one; `record` receives it. 0, 5, TVO_ERR_RECORD_TYPE, TVO_ERR_LOOKUP (not offered for the type),
 * TVO_ERR_NOT_FOUND, TVO_ERR_NO_RECORD. tavo_store_read of TVO_CURRENT tells line and presence. */
TAVO_API tavo_status tavo_store_find(tavo_store* store, uint32_t type, uint32_t lookup,
                                     void* record);
/* Replaces the current record by one of its type. Its place in the file stays, and in a complete
 * file its line and presence, too. */
TAVO_API tavo_status tavo_store_update(tavo_store* store, const void* record);
/* The same with another line and presence; TVO_ERR_RECORD_TYPE when the type is another one. The
 * block stays. */
TAVO_API tavo_status tavo_store_replace(tavo_store* store, const tavo_record* record);
/* Deletes the current record; `record`, which may be null, receives it. */
TAVO_API tavo_status tavo_store_delete(tavo_store* store, void* record);
TAVO_API uint64_t tavo_store_count(const tavo_store* store);
/* 1 while there is a current record, be it one that cannot be read; else 0. */
TAVO_API int tavo_store_on_record(const tavo_store* store);

/* Whether bytes are the beginning of a data file: 1 or 0. At least 60 are needed. */
TAVO_API int tavo_is_data_file(const void* bytes, size_t size);

/* What a data file is like. Start from TAVO_STORE_STATISTICS_INIT. */
typedef struct tavo_store_statistics {
  uint32_t version;
  uint32_t height;       /* levels of the tree */
  uint64_t file_size;    /* bytes */
  uint32_t pages_in_use; /* the rest of pages_in_file is held in reserve */
  uint32_t pages_in_file;
  uint32_t leaf_pages;
  uint32_t inner_pages;
  double fill_factor;       /* bytes used of the room in those pages, 0 to 1 */
  uint32_t records;         /* that are there as a whole */
  uint32_t records_counted; /* that the header counts */
  uint32_t free_numbers;    /* record numbers waiting for reuse */
  uint32_t keys_compared;   /* 1: with the records, which needs all pages */
  uint64_t room_ahead;      /* bytes behind the counted pages, allocated ahead and still zero */
  uint32_t findings;        /* notes not counted */
  uint32_t records_by_type[128];
  uint32_t kind; /* TAVO_STORE_COMPATIBLE or _COMPLETE; since version 2 */
  /* Set by the caller: called for every piece that is read, with the bytes read so far of an
   * unknown number; since version 3. */
  tavo_progress_fn on_progress;
  void* progress_user;
} tavo_store_statistics;
#define TAVO_STORE_STATISTICS_INIT \
  { 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, {0}, 0, NULL, NULL }

typedef struct tavo_store_finding {
  uint32_t kind;        /* TAVO_NOTE or TAVO_ERROR */
  int32_t page;         /* -1: no single page's */
  uint32_t record;      /* its number, 0: no single record's */
  uint32_t record_type; /* 0: not known */
  const char* text;     /* one sentence that names all of these, zero-terminated */
  uint32_t block;       /* that the record stands in, in a complete file; 0: not known */
} tavo_store_finding;
typedef void (*tavo_store_finding_fn)(const tavo_store_finding* finding, void* user);

/* Checks a closed data file whole. 0 when the check came to its end, whatever it found;
 * TVO_ERR_DATA_FILE when it cannot be read as one, TAVO_ERR_CANCELLED when its on_progress asked to
 * stop. statistics may be null. */
TAVO_API tavo_status tavo_store_verify(const char* path, tavo_store_finding_fn on_finding,
                                       void* user, tavo_store_statistics* statistics);

/* What a repair saved. Start from TAVO_STORE_REPAIR_INIT. */
typedef struct tavo_store_repair_report {
  uint32_t version;
  uint32_t kind; /* of both files: that of most of the records */
  /* By record type; [0]: of a type that cannot be told any more. */
  uint32_t found[128];   /* and written */
  uint32_t damaged[128]; /* were there and are not whole */
  uint32_t twice[128];   /* found again under the same number; written only where they differ */
  uint32_t untraced;     /* that the header counts and of which nothing is left; it may be wrong */
  /* Set by the caller: called for every piece of the old file that is read, with the bytes read so
   * far of an unknown number; since version 2. */
  tavo_progress_fn on_progress;
  void* progress_user;
} tavo_store_repair_report;
#define TAVO_STORE_REPAIR_INIT \
  { 2, TAVO_STORE_COMPATIBLE, {0}, {0}, {0}, 0, NULL, NULL }

/* Saves every record of a closed data file that is whole, wherever in the file it stands, into a
 * new one, in their order and with keys and counts of its own; header and keys of the old file do
 * not matter, and it stays as it is. Each damaged record is an error for on_finding, each that was
 * found twice a note. 0 when the new file has taken its place, whatever is missing in it: nothing
 * is when no record is damaged or untraced. TVO_ERR_DATA_FILE when the old file cannot be read,
 * TVO_ERR_NO_RECORD when there is no record in it, TVO_ERR_OPEN when it is the target itself,
 * TVO_ERR_WRITE when the new one cannot be written, TAVO_ERR_CANCELLED when the on_progress of the
 * report asked to stop; what is at the target then stays. report and on_finding may be null. */
TAVO_API tavo_status tavo_store_repair(const char* path, const char* target,
                                       tavo_store_finding_fn on_finding, void* user,
                                       tavo_store_repair_report* report);

/* --- Units -------------------------------------------------------------------------------------
 */

/* Conversion by units in force between a file's value and metres (LINEAR) or radians (ANGULAR,
 * GEOGRAPHIC); a user unit of factor 0 gives 0 on the way back, an unknown unit changes nothing.
 * Offsets are not added. */
TAVO_API double tavo_to_si(const tavo_units* units, uint32_t unit, double value);
TAVO_API double tavo_to_file(const tavo_units* units, uint32_t unit, double value);
/* Units of a text without HEADER. */
TAVO_API const tavo_units* tavo_default_units(void);
/* Takes over what a UNITS or OFFSETS record (type 6, 7) sets, of which its columns record lists the
 * items; other types change nothing. */
TAVO_API void tavo_units_follow(tavo_units* units, const void* columns_record, uint32_t type,
                                const void* record);

/* --- The format itself ---------------------------------------------------------------------------
 */

/* Types of fields, as they are stored. */
enum {
  TAVO_TYPE_CHAR = 0,
  TAVO_TYPE_UINT8 = 1,
  TAVO_TYPE_UINT16 = 2,
  TAVO_TYPE_INT16 = 3,
  TAVO_TYPE_UINT32 = 4,
  TAVO_TYPE_FLOAT = 5,
  TAVO_TYPE_DOUBLE = 6,
  TAVO_TYPE_BITS = 7,
  TAVO_TYPE_DATE_TIME = 8,
  TAVO_TYPE_TEXT = 9,
  TAVO_TYPE_DEFAULT = 10, /* DefaultValue */
  TAVO_TYPE_ENUM = 11,
  TAVO_TYPE_FREE = 12 /* FreeValue */
};

/* Kinds of units: in records lengths of kind LINEAR are metres and angles of the other two radians
 * where `converted` is 1, else as the file has them. */
enum { TAVO_UNIT_NONE = 0, TAVO_UNIT_ANGULAR = 1, TAVO_UNIT_LINEAR = 2, TAVO_UNIT_GEOGRAPHIC = 3 };

/* What a field is for telling the records of a block apart. Several parts make one key together. A
 * key that refers to another one (the point of an accuracy) defines nothing; blocks that define the
 * same field (MapPrjNo) share its values. */
enum {
  TAVO_KEY_NONE = 0,
  TAVO_KEY_PART = 1,
  TAVO_KEY_IDENTIFIER = 2 /* a second name beside the key */
};

/* What a block holds. */
enum {
  TAVO_BLOCK_CONTAINER = 0,   /* sub-sections only */
  TAVO_BLOCK_ITEMS = 1,       /* item lines, one data record */
  TAVO_BLOCK_DATA = 2,        /* data lines under a column definition */
  TAVO_BLOCK_COLLECTED = 3,   /* the same, completed by EXTRAINFO */
  TAVO_BLOCK_COMPLETION = 4,  /* EXTRAINFO */
  TAVO_BLOCK_TIME_TAGGED = 5, /* lines of fixed layout */
  TAVO_BLOCK_OPERATIONS = 6   /* pairs of an operation line and a points line */
};

typedef struct tavo_schema_block {
  const char* keyword;
  const char* parent; /* keyword of the block that it stands in, "" at top level */
  uint32_t kind;
  uint32_t columns_type; /* 0: delivers no records */
  uint32_t data_type;
  uint32_t record_size; /* bytes of its data record */
  size_t field_count;
} tavo_schema_block;

typedef struct tavo_schema_field {
  TVO_FieldId id;
  const char* name; /* as a column definition or item line names it; of a hidden one the member's */
  uint32_t type;
  uint32_t width;  /* of a text its room with the end mark, of a bit field its bits, else 0 */
  uint32_t offset; /* of the member in the record; UINT32_MAX: read and checked, but not kept */
  uint32_t size;   /* of the member */
  uint32_t unit;
  uint32_t converted; /* 1: the record holds metres or radians, not the file's unit */
  uint32_t group;     /* of an enumeration: index for tavo_schema_group_value; else 0 */
  uint32_t hidden;    /* 1: a member that no column or item reaches by a name of its own */
  uint32_t alias;     /* 1: a further name of an earlier field's member, not this block's own */
  uint32_t key;       /* TAVO_KEY_... */
  TVO_FieldId refers; /* of the key field whose values it repeats; 0: it is no reference. A number
                         of 0 and an empty text refer to nothing. An identifier that refers counts
                         where the number in front of it is not given */
} tavo_schema_field;

/* One enumeration keyword and its number. */
typedef struct tavo_schema_value {
  TVO_EnumId id;
  const char* name;
} tavo_schema_value;

typedef struct tavo_schema_operation {
  uint32_t number;
  const char* name;
  uint32_t points;
  uint32_t has_size;
} tavo_schema_operation;

typedef struct tavo_schema_message {
  uint32_t number;
  uint32_t kind;
  const char* text;        /* the log's words */
  const char* explanation; /* one or two sentences on what it means */
} tavo_schema_message;

/* The n-th of each list in the format's order, null behind the last. */
TAVO_API const tavo_schema_block* tavo_schema_block_at(size_t index);
TAVO_API const tavo_schema_field* tavo_schema_field_at(const tavo_schema_block* block,
                                                       size_t index);
TAVO_API const tavo_schema_value* tavo_schema_value_at(size_t index);
TAVO_API const tavo_schema_value* tavo_schema_group_value(uint32_t group, size_t index);
TAVO_API const tavo_schema_operation* tavo_schema_operation_at(size_t index);
TAVO_API const tavo_schema_message* tavo_schema_message_at(size_t index);

/* The block that delivers a record type (columns or data; of several blocks the first), or null. */
TAVO_API const tavo_schema_block* tavo_schema_block_of(uint32_t record_type);
/* Name of an enumeration number, "UNKNOWN" for one that is not there. */
TAVO_API const char* tavo_schema_value_name(TVO_EnumId id);
/* The first block with a keyword, or null. */
TAVO_API const tavo_schema_block* tavo_schema_block_named(const char* keyword);
/* Name of a column in the definition lines of a block, or null; of MERCATOR_2 these are those of
 * MERCATOR. */
TAVO_API const char* tavo_schema_column_name(const tavo_schema_block* block, TVO_FieldId id);
/* The row of a finding's number, or null. */
TAVO_API const tavo_schema_message* tavo_schema_message_of(uint32_t number);
/* Bytes of a record type's packed structure, 0 for a type that is not used. */
TAVO_API uint32_t tavo_schema_record_size(uint32_t record_type);

/* --- Geometry and reference systems -------------------------------------------------------------
 *
 * Where the things of a survey lie. Grid coordinates are metres, with the offsets added; geographic
 * ones are degrees, longitude first; geocentric ones are metres. Whether a coordinate counts is
 * decided by its presence, never by its value. A point that gives several has the grid's, then the
 * geographic, then the geocentric ones; in a set with a map projection the latter two are projected
 * on the set's ellipsoid. Transformations are never applied. */

/* Belongs to its survey, which must outlive it. Reading it needs no care of threads. */
typedef struct tavo_geometry tavo_geometry;

/* From where false coordinates of OBLIQUE_MERCATOR and RSO count. */
enum {
  TAVO_HOTINE_OF_BLOCK = 0, /* OBLIQUE_MERCATOR from the projection centre, RSO from the other */
  TAVO_HOTINE_CENTRE = 1,   /* the projection centre */
  TAVO_HOTINE_NATURAL = 2   /* the natural origin, on the aposphere's equator */
};

typedef struct tavo_geometry_options {
  uint32_t version;
  uint32_t ignore_transformations; /* 1: project although a set names an LTrfNo */
  uint32_t hotine_origin;
} tavo_geometry_options;
#define TAVO_GEOMETRY_OPTIONS_INIT \
  { 1, 0, TAVO_HOTINE_OF_BLOCK }

enum {
  TAVO_COORDINATES_GRID = 0,
  TAVO_COORDINATES_GEOGRAPHIC = 1,
  TAVO_COORDINATES_GEOCENTRIC = 2
};
enum {
  TAVO_HEIGHTS_NONE = 0,
  TAVO_HEIGHTS_ELEVATION = 1,
  TAVO_HEIGHTS_ELLIPSOIDAL = 2 /* EllHeight, since nothing in the system gives an Elevation */
};

/* A reference system in which things lie: one for each projection set (of a set with zones, for
 * each zone) and kind of coordinates that occur. Systems differ where anything of this differs. */
typedef struct tavo_crs {
  uint32_t coordinates;
  uint32_t heights;
  size_t set;       /* place of the set among PROJECTION_SETS; SIZE_MAX: none applies */
  uint32_t set_no;  /* its PrjSetNo, 0 without a set */
  int32_t zone;     /* -1: not one of several zones */
  const char* name; /* UTF-8; "" without a set */
  const char* wkt;  /* WKT2, UTF-8, easting or longitude first; "": there is no system */
} tavo_crs;

/* Where something lies. */
typedef struct tavo_position {
  double x, y, z;     /* east, north, height; z is NaN in dimension 2, all are in dimension 0 */
  uint32_t crs;       /* for tavo_geometry_crs */
  uint32_t dimension; /* 0: it has no place, 2, 3 */
} tavo_position;

/* A line or an area. Places count within the shape. */
typedef struct tavo_shape {
  size_t owner;           /* place of its record among those of its type */
  uint32_t crs;           /* for tavo_geometry_crs */
  uint32_t dimension;     /* 2, or 3 where every vertex has a height */
  const double* vertices; /* x, y, z of each; z is NaN in dimension 2 */
  size_t vertex_count;
  const size_t* runs;     /* run_count + 1 vertices: run i is from runs[i] up to runs[i + 1], */
  size_t run_count;       /*   a part of a line, or a ring, which ends with its first vertex */
  const size_t* polygons; /* polygon_count + 1 runs: of each polygon the outer ring, then holes */
  size_t polygon_count;   /* 0: not an area */
} tavo_shape;

/* An observation as read, in gon and metres, and what is reduced from it: face two turned to face
 * one, the slope resolved, without curvature and Ppm. NaN: not given, or of unknown unit. */
typedef struct tavo_observation {
  size_t setup; /* place among SETUP of the last one before it; SIZE_MAX: there is none */
  double hz, vz, ori;
  double distance, instrument_height, target_height;
  double red_hz, red_vz;           /* 0 to 400 */
  double red_distance, red_height; /* horizontal; from the station's mark to the target's */
} tavo_observation;

/* What a finding of geometry is about. */
enum {
  TAVO_GEOMETRY_OTHER = 0,          /* no place, no reference system, or how one was taken */
  TAVO_GEOMETRY_MISSING = 1,        /* something named is not there */
  TAVO_GEOMETRY_TWIN = 2,           /* a number is given before; the first one holds */
  TAVO_GEOMETRY_NO_COORDINATES = 3, /* an edge leads to a point without coordinates */
  TAVO_GEOMETRY_GAP = 4,            /* an edge does not join the one before it */
  TAVO_GEOMETRY_RING = 5,           /* a ring does not close, or has no area */
  TAVO_GEOMETRY_SYSTEMS = 6         /* what belongs together lies in several systems */
};

/* What geometry found. Findings are TAVO_WARNING where something has no place or no system, else
 * TAVO_NOTE. */
typedef struct tavo_geometry_finding {
  uint32_t kind;
  uint32_t record_type; /* 0: of the survey as a whole */
  size_t index;         /* place of the record among those of its type */
  uint64_t line;        /* of that record, 0: not known */
  const char* text;     /* one sentence without a full stop, UTF-8 */
  uint32_t cause;       /* TAVO_GEOMETRY_... */
} tavo_geometry_finding;

/* Works out all geometry of a survey: TAVO_OK, TAVO_ERR_MEMORY, TAVO_ERR_ARGUMENT. */
TAVO_API tavo_status tavo_geometry_create(tavo_geometry** out, const tavo_survey* survey,
                                          const tavo_geometry_options* options);
TAVO_API void tavo_geometry_free(tavo_geometry* geometry);

TAVO_API size_t tavo_geometry_crs_count(const tavo_geometry* geometry);
/* Null behind the last. */
TAVO_API const tavo_crs* tavo_geometry_crs(const tavo_geometry* geometry, size_t index);
/* WKT2 of a projection set by its number; "" where it has none or a system for each zone, null
 * where no such set is defined. The notes on it are findings. */
TAVO_API const char* tavo_crs_wkt(const tavo_geometry* geometry, uint32_t set_no);

/* Longitude and latitude, in degrees on its own ellipsoid, of a place in a system of projected or
 * geographic coordinates: 1, or 0 where there are none. */
TAVO_API int tavo_geometry_geographic(const tavo_geometry* geometry, uint32_t crs, double x,
                                      double y, double* longitude, double* latitude);

/* Where each record of a type lies, as many as there are records: POINTS, ANNOTATIONS (on their
 * point, line or polygon), BOX_ON_POINT, SETUP. Null, with count 0, for other types. */
TAVO_API const tavo_position* tavo_geometry_positions(const tavo_geometry* geometry, uint32_t type,
                                                      size_t* count);
/* Shapes of LINES, POLYGONS, EDGES of both, and SLOPE (rays from station to target), in the order
 * of their owners, which may have none, and a line several (one in each system that it runs
 * through). */
TAVO_API size_t tavo_geometry_shape_count(const tavo_geometry* geometry, uint32_t type);
/* 1, or 0 behind the last. */
TAVO_API int tavo_geometry_shape(const tavo_geometry* geometry, uint32_t type, size_t index,
                                 tavo_shape* shape);
/* One for each record of SLOPE. */
TAVO_API const tavo_observation* tavo_geometry_observations(const tavo_geometry* geometry,
                                                            size_t* count);

TAVO_API size_t tavo_geometry_finding_count(const tavo_geometry* geometry);
/* Null behind the last. */
TAVO_API const tavo_geometry_finding* tavo_geometry_finding_at(const tavo_geometry* geometry,
                                                               size_t index);

#ifdef __cplusplus
}
#endif

#endif /* TAVO_SURVEY_H */
