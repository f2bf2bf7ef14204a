// Error objects and the per-thread error list. A failing library function adds a numbered
// KoError to the calling thread's current list (addError(number) << param ...) and returns
// its own failure result. The client pushes its list on the thread before calling in
// (pushOnErrorKeeper) and pops it afterwards. Nothing here throws or prints.
#pragma once

#include <cstdint>
#include "kolib/object.h"
#include "kolib/param_string.h"
#include "kolib/sorted_array.h"

enum ErrorType { ERRORTYPE_ERROR = 0, ERRORTYPE_WARNING = 1 };
enum ErrSpecialError { ERR_NORMAL = 0, ERR_MEMORY_ERROR = 1, ERR_DUMMY_ERROR = 2 };

// The number of the built-in "Out Of Memory" error.
enum { KO_ERROR_OUT_OF_MEMORY = 30190 };

class KO_API KoError : public KoNode {
public:
    KoError(unsigned short errorNumber, const char* text, ErrorType type,
            unsigned short interfaceError, long nativeError);
    explicit KoError(ErrSpecialError special); // the two static errors only
    ~KoError() override;
    KoError(const KoError&) = delete;
    KoError& operator=(const KoError&) = delete;

    void appendText(const char* text);

    // Fill the next parameter mark ("%s<k>" for texts, "%n<k>" for numbers). On the dummy
    // error they do nothing; when memory runs out they return the thread list's dummy error.
    KoError& operator<<(const char* text);
    KoError& operator<<(const KoSubString& text);
    KoError& operator<<(unsigned long value);
    KoError& operator<<(long value);
    KoError& operator<<(unsigned short value);
    KoError& operator<<(short value);
    KoError& operator<<(int value);
    KoError& operator<<(unsigned int value);

    unsigned short getErrorNumber() const { return ErrorNumber; }
    // "Out Of Memory" for the memory error, else the current text.
    const char* getErrorText();
    int isWarning() const { return Warning; }
    void setWarning() { Warning = 1; }
    void resetWarning() { Warning = 0; }
    int isStatic() const { return StaticObj; }
    int isMemoryError() const { return MemoryError; }
    int isDummyError() const { return DummyError; }
    long getNativeError() const { return NativeError; }
    unsigned short getInterfaceError() const { return InterfaceError; }
    void setInterfaceError(unsigned short code) { InterfaceError = code; }
    void setInterfaceCode(const char* code);
    const char* getInterfaceCode() const { return InterfaceCode; }
    void setPrefixOnText() { PrefixOnText = 1; }
    int isPrefixOnText() const { return PrefixOnText; }
    void setTwoPartError() { TwoPartError = 1; }
    int isTwoPartError() const { return TwoPartError; }
    // Restarts parameter numbering at 1.
    void resetParamCount() { ErrorText.resetParamCount(); }

    int32_t NativeError;
    uint16_t ErrorNumber;
    uint16_t InterfaceError;
    KoParamString ErrorText;
    char InterfaceCode[6];
    uint32_t Warning : 1;
    uint32_t StaticObj : 1;
    uint32_t MemoryError : 1;
    uint32_t DummyError : 1;
    uint32_t PrefixOnText : 1;
    uint32_t TwoPartError : 1;

private:
    KoError& substituteNumber(long value, int isSigned, unsigned long unsignedValue);
};

// The list of errors of one thread, in the order added (sorting is switched off). It owns its
// entries. Without multiple-error support it keeps at most one real error: the first error of
// an operation wins.
class KO_API KoErrorList : public KoSortedArray {
public:
    KoErrorList(void* owner, unsigned supportMultipleErrors);
    ~KoErrorList() override;

    // A new error, not added; null when memory is exhausted. A client may derive to make its
    // own KoError subclass or to hand out other shared errors.
    virtual KoError* getMemoryError();
    virtual KoError* getDummyError();
    virtual KoError* allocError(unsigned short errorNumber, const char* text, ErrorType type,
                                unsigned short interfaceError, long nativeError);

    void clearErrors();
    // With OutOfMemory set, the memory error stands last whatever the array holds.
    KoError* getLastError();
    // The caller owns an error these return (unless it is static).
    KoError* removeFirstError();
    KoError* removeLastError();
    // 0 empty, 1 errors and warnings, 2 errors only, 3 warnings only (OutOfMemory not counted).
    unsigned short getErrorsMix();
    int isExistingError();
    int isWarningOnly();
    // Appends every text to out, separated by `separator`; 1 if out could not grow.
    unsigned concatErrors(KoString* out, unsigned short separator);
    void setWarningAfterPos(unsigned long pos);
    void appendTextStartingAtPos(const char* text, unsigned long pos);
    void moveLastErrorToPos(unsigned long pos);
    KoError* getFirstNode();
    KoError* getNextNode();
    KoError* getNodeAtPos(unsigned long pos);
    // Makes this list the calling thread's current list (registering the thread).
    void pushOnErrorKeeper();
    // Makes the previous list current again and releases the registration.
    KoErrorList* popOffErrorKeeper();

    int isSupportMultipleErrors() const { return SupportMultipleErrors; }
    void* getOwnerOfList() const { return OwnerOfList; }
    int isOutOfMemory() const { return OutOfMemory; }
    void setOutOfMemory() { OutOfMemory = 1; }
    void resetOutOfMemory() { OutOfMemory = 0; }
    void setCurrentIndex(unsigned short index) { CurrentIndex = index; }
    unsigned short getCurrentIndex() const { return CurrentIndex; }

    void* OwnerOfList;
    uint32_t SupportMultipleErrors : 1;
    uint32_t OutOfMemory : 1;
    KoErrorList* NextList;
    void** AddressOfHeadPtr;
    uint16_t CurrentIndex;

    KoErrorList(const KoErrorList&) = delete;
    KoErrorList& operator=(const KoErrorList&) = delete;
};

// Static operations on the calling thread's current list (per-thread slot MDS_ERROR_KEEPER).
class KO_API KoErrorKeeper {
public:
    // Adds an error; returns it, or the list's dummy error when it is refused or null.
    static KoError* addError(KoError* error);
    static void clearAllErrors();
    // Removes the last error and deletes it unless it is static.
    static void clearLastError();
    // Appends text to the last error and restarts its parameter numbering.
    static void appendTextToLastError(const char* text);
    static KoError* getLastError();
    static unsigned short getLastErrorNumber();
    static long getLastNativeError();
    // Marks the list out of memory; allocates nothing.
    static void addMemoryError();
    static void setErrorList(KoErrorList* list);
    static KoErrorList* giveUpErrorList();
    static KoErrorList* getErrorList();
    static int isExistingError();
    static int isWarningOnly();
    static void* getOwnerOfList();
    static unsigned concatErrors(KoString* out, unsigned short separator);
    static void setLastErrorType(ErrorType type);
};

// Adds catalogue message `number` as an error (warning) and returns it for its parameters.
KO_API KoError& addError(unsigned short number);
KO_API KoError& addWarning(unsigned short number);
// Adds an error with the given text instead of the catalogue's.
KO_API KoError& addError(unsigned short number, const char* text);
KO_API KoError& addDatabaseError(unsigned short number, long nativeError, const char* text,
                                 ErrorType type);
KO_API void appendTextToLastError(unsigned short number);
KO_API void appendTextToErrorAtPos(unsigned short number, unsigned long pos);
// Copies catalogue message `number` of the library's own catalogue into buffer (whole);
// returns its length.
KO_API unsigned long winGetString(char* buffer, unsigned short number);
// Adds the library error for an operating-system error number; `name` fills the message's
// first parameter where the error takes one (null is the empty text).
KO_API void bosMapError(unsigned short osError, const char* name);
