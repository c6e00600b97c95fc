/*
 * The C boundary of libZynNetServer.so.
 *
 * The HMI plug-in loads the library at run time and resolves every entry
 * point by name, so nothing here may change its order, types or calling
 * convention: the plug-in sees only symbol names and argument positions.
 *
 * Threads. Entry points are called from the HMI main thread. Callbacks
 * are called from the library's own threads, never from inside an entry
 * point, because a callback typically waits for the HMI main thread.
 *
 * Strings. What the plug-in passes in (entry points) is local 8-bit and
 * valid only during the call; the library copies what it keeps. What a
 * callback writes into a library buffer is NUL-ended UTF-8, cut to the
 * buffer's size; the library owns and frees every buffer it hands out.
 */
#ifndef ZYN_NET_SERVER_H
#define ZYN_NET_SERVER_H

#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Sizes that are part of the interface. */
enum {
    ZYN_CALLBACK_COUNT = 15,
    ZYN_DIR_BUFFER_SIZE = 1024,  /* journalDir and reqDir of CreateInstance */
    ZYN_MAX_AXES = 30,           /* count of NotifyAxisPos */
    ZYN_AXIS_NAME_SIZE = 16      /* one name buffer of NotifyAxisPos, NUL included */
};

/* status of NotifyProgramStatus */
typedef enum tagZynProgStatus {
    ZYN_PROG_INITIAL = 0,
    ZYN_PROG_STARTED = 1,
    ZYN_PROG_FINISHED = 2,
    ZYN_PROG_ENDED_OTHERWISE = 3
} tagZynProgStatus;

/* status of NotifyMachineStatus */
typedef enum tagZynMachStatus {
    ZYN_MACH_NORMAL = 1,
    ZYN_MACH_INTERRUPTED = 2,
    ZYN_MACH_ALARM = 3
} tagZynMachStatus;

/* fileType of the upload callback */
typedef enum tagZynFileType {
    ZYN_FILE_MACRO = 0,
    ZYN_FILE_PROGRAM = 1,
    ZYN_FILE_REPORT = 2
} tagZynFileType;

/* actionType of the client action callback; any value but 1 counts as an arrival.
 * ZYN_CLIENT_CALL_ABANDONED: a client stopped waiting for a call that is still
 * being served (it cancelled, its deadline passed or its connection broke);
 * callMethodName is then "SendMessage:ID" with the message's id in base 10,
 * and the message may be taken off the screen. It comes before the
 * departure the same end may cause. */
typedef enum tagZynClientAction {
    ZYN_CLIENT_DISCONNECTED = 1,
    ZYN_CLIENT_CONNECTED = 2,
    ZYN_CLIENT_CALL_ABANDONED = 3
} tagZynClientAction;

/* sendState of the log file callback */
typedef enum tagZynLogSendState {
    ZYN_LOG_EXPORTING = 1,
    ZYN_LOG_SUCCEEDED = 2,
    ZYN_LOG_FAILED = 3
} tagZynLogSendState;

/* Places in the callback table. */
typedef enum tagZynCallbackIndex {
    ZYN_CB_UPLOAD_FILE = 0,
    ZYN_CB_GET_JOURNALS = 1,
    ZYN_CB_REQUEST_INTERACTIVE = 2,
    ZYN_CB_GET_INTERACTIVE_RESULT = 3,
    ZYN_CB_SELECT_PROGRAM = 4,
    ZYN_CB_READ_RVAR = 5,
    ZYN_CB_WRITE_RVAR = 6,
    ZYN_CB_SEND_MSG = 7,
    ZYN_CB_CLIENT_ACTION = 8,
    ZYN_CB_GET_LOG_FILES = 9,
    ZYN_CB_GET_MACHINE_CONFIGURATION = 10,
    ZYN_CB_CHECK_FILE_EXISTS = 11,
    ZYN_CB_DOWNLOAD_FILE = 12,
    ZYN_CB_GET_CALIBRATION_RESULT = 13,
    ZYN_CB_GET_SKIP_POSITION = 14
} tagZynCallbackIndex;

/*
 * The callbacks. Every buffer (errInfo, values, fileContent, ...) belongs
 * to the library and is valid only during the call; a callback fills it
 * and returns. A null entry in the table answers the client "unavailable".
 */
typedef bool (*ZynUploadFileCallback)(const char* peer, int fileType, const char* filePath,
                                      char* errInfo, unsigned int errSize);
typedef void (*ZynGetJournalsCallback)(const char* peer, const char* resultFile, bool succeeded);
typedef bool (*ZynRequestInteractiveCallback)(const char* peer, const char* reqFile,
                                              const char* receivedFile, char* errInfo,
                                              unsigned int errSize);
typedef bool (*ZynGetInteractiveResultCallback)(const char* peer, const char* reqFile, bool keep,
                                                const char* resultFile, char* errInfo,
                                                unsigned int errSize);
typedef bool (*ZynSelectProgramCallback)(const char* peer, const char* prgFileName, char* errInfo,
                                         unsigned int errSize);
typedef bool (*ZynReadRVarCallback)(const char* peer, int index, int count, double* values,
                                    char* errInfo, unsigned int errSize);
typedef bool (*ZynWriteRVarCallback)(const char* peer, int index, int count, const double* values,
                                     char* errInfo, unsigned int errSize);
typedef bool (*ZynSendMsgCallback)(const char* peer, unsigned long long id, int type, int style,
                                   const char* messageText, const char* inputName,
                                   int* clickedButton, char* inputValue,
                                   unsigned int inputValueSize, char* errInfo,
                                   unsigned int errSize);
typedef bool (*ZynClientActionCallback)(const char* peer, const char* callMethodName,
                                        int actionType);
typedef bool (*ZynGetLogFilesCallback)(const char* peer, const char* logFileName, int sendState);
typedef bool (*ZynGetMachineConfigurationCallback)(const char* peer, char* fileContent,
                                                   unsigned int fileContentSize, char* errInfo,
                                                   unsigned int errSize);
typedef bool (*ZynCheckFileExistsCallback)(const char* peer, const char* fileName, bool* isExists,
                                           char* errInfo, unsigned int errSize);
typedef bool (*ZynDownloadFileCallback)(const char* peer, const char* srcFileName,
                                        char* dstFileName, unsigned int dstFileNameSize,
                                        bool* dstFileNeedRemove, char* errInfo,
                                        unsigned int errSize);
typedef bool (*ZynGetCalibrationResultCallback)(const char* peer, char* fileContent,
                                                unsigned int fileContentSize, char* errInfo,
                                                unsigned int errSize);
typedef bool (*ZynGetSkipPositionCallback)(const char* peer, double* x, double* y, double* z,
                                           double* a, double* b, double* c, char* errInfo,
                                           unsigned int errSize);

/* The table handed to CreateInstance, indexed by tagZynCallbackIndex.
 * The library copies it; it need not outlive the call. */
typedef void* ZynCallbackTable[ZYN_CALLBACK_COUNT];

/* The nine entry points, as the plug-in resolves them. */
typedef bool (*ZynCreateInstanceFn)(const char* applDir, void** callbacks, int callbackCount,
                                    char* journalDir, unsigned int journalDirSize, char* reqDir,
                                    unsigned int reqDirSize);
typedef bool (*ZynStartServerFn)(const char* ip, unsigned short port);
typedef void (*ZynStopServerFn)(void);
typedef void (*ZynReleaseInstanceFn)(void);
typedef bool (*ZynNotifyLogFileFn)(const char* file, const char** peers, int count);
typedef bool (*ZynNotifyJournalFn)(const char* journalFile);
typedef bool (*ZynNotifyProgramStatusFn)(int status, bool flag, const char* program,
                                         const char* text);
typedef bool (*ZynNotifyMachineStatusFn)(int status, const char* text1, const char* text2,
                                         const char* text3, bool flag);
typedef bool (*ZynNotifyAxisPosFn)(char** names, double* positions, int count);

/*
 * Copies the table (callbackCount entries at most, missing ones are null),
 * makes the journal and request folders under applDir and writes their
 * paths into the two buffers. A second call releases the first instance.
 */
bool CreateInstance(const char* applDir, void** callbacks, int callbackCount, char* journalDir,
                    unsigned int journalDirSize, char* reqDir, unsigned int reqDirSize);

/* Listens on ip:port (port 0: any free port). False if it cannot listen or
 * the configuration file beside the library is unusable. */
bool StartServer(const char* ip, unsigned short port);

/* Ends every call and returns within two seconds, also while a callback
 * waits for the caller's thread. A thread still inside a callback then
 * leaves the library's code as soon as the callback returns; the library
 * stays mapped after dlclose for this reason. */
void StopServer(void);

/* Stops the server if needed and forgets the callback table. */
void ReleaseInstance(void);

/* Sends a file to the named clients; progress comes back through the
 * log file callback (1, 2, 3) for each peer. */
bool NotifyLogFile(const char* file, const char** peers, int count);

/* A journal lies ready; it is delivered until a client acknowledges it.
 * True if a subscribed client could take it now. */
bool NotifyJournal(const char* journalFile);

bool NotifyProgramStatus(int status, bool flag, const char* program, const char* text);
bool NotifyMachineStatus(int status, const char* text1, const char* text2, const char* text3,
                         bool flag);

/* names: count pointers to NUL-ended names of at most ZYN_AXIS_NAME_SIZE
 * bytes; count at most ZYN_MAX_AXES. */
bool NotifyAxisPos(char** names, double* positions, int count);

/* Not one of the nine: the port the running server listens on, 0 when it
 * is not running. Useful with port 0; the plug-in does not need it. */
unsigned short GetServerPort(void);
typedef unsigned short (*ZynGetServerPortFn)(void);

#ifdef __cplusplus
}
#endif

#endif
