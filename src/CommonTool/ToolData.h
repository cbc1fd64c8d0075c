// Typed task arguments: how a test declares its arguments, the list of texts that the engine builds
// for a call, and the readers that turn the texts back into values.
#pragma once

#include "ZelTypes.h"

enum ArgType : U32 {
    ARGTYPE_BOOL = 0,
    ARGTYPE_INT = 1,
    ARGTYPE_STRING = 2,
    ARGTYPE_FLOAT = 3,
    ARGTYPE_U64 = 4,
    ARGTYPE_END = 5
};

// One declared argument. A declaration is an array that ends with ARGTYPE_END and a null text.
struct TaskArg {
    ArgType Type;
    const char* DefaultValue;
};

// One node of the list that a test is called with. The engine owns the nodes and the texts, which
// live until the call returns.
struct ActualArg {
    ArgType Type;
    const char* Value;
    ActualArg* Next;
};

using TaskMarshal = I16 (*)(ActualArg* list);

// Rows and requests of a task table. No such table exists; the tool's classes declare operations on
// them.
enum ETarget : U32 {
    eTARGET_UNKNOWN = 0,
    eTARGET_PCI_ACCESS = 1,
    eTARGET_VORL_DRIVER = 2,
    eTARGET_KMD_VORL = 3,
    eTARGET_OFFLINE = 4,
    eTARGET_MAX = 5
};

struct TaskEntry {
    ETarget targetName;
    const char* GroupName;
    const char* TaskName;
    const TaskArg* Args;
    TaskMarshal Function;
    const char* Help;
};

struct TaskInfo {
    bool Help;
    char* GroupName;
    char* TaskMask;
    char** Args;
    I32 HeadArg;
    I32 TailArg;
    TaskInfo* next;
};

// Readers. Each traces at DLVL_ERROR and throws a plain std::exception when the node is of another
// type or its text is no such value; nothing in the program catches that. Get_U64 alone returns 0
// for a node of another type.
bool Get_bool(ActualArg& a);
int Get_int(ActualArg& a);
U64 Get_U64(ActualArg& a);
float Get_float(ActualArg& a);
const char* Get_string(ActualArg& a);
