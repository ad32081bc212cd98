/* What a host built with another toolchain than the library's relies on,
 * checked before the tour is played:
 *   - each C function of moxh5_c.h is found by GetProcAddress under its
 *     plain name (no _name@N to guess on i686), at the address the import
 *     library moxh5.lib bound;
 *   - a call through such a pointer, declared with the header's calling
 *     convention (MOXH5_CALL), runs with its arguments: on i686 the caller
 *     removes them, as __cdecl says (a function that removed them itself,
 *     __stdcall, would leave the stack pointer off and is reported).
 * Answers 0 when all holds, 3 otherwise, after a line on stderr for each
 * fault.
 */
#include <stdio.h>
#include <string.h>

#include "moxh5/moxh5_c.h"

typedef void* HMODULE;
typedef void(__cdecl* any_function)(void);
__declspec(dllimport) HMODULE __stdcall GetModuleHandleA(const char* name);
__declspec(dllimport) any_function __stdcall GetProcAddress(HMODULE module, const char* name);

typedef int(MOXH5_CALL* exist_function)(moxh5_host*, const char*, int*);
typedef const char*(MOXH5_CALL* last_error_function)(void);

static int faults = 0;

static void fault(const char* what, const char* name) {
    fprintf(stderr, "moxh5-msvc-host: %s: %s\n", what, name);
    ++faults;
}

static any_function look_up(HMODULE dll, const char* name, any_function imported) {
    any_function found = GetProcAddress(dll, name);
    if (!found) {
        fault("GetProcAddress finds no export", name);
    } else if (found != imported) {
        fault("GetProcAddress and moxh5.lib disagree on the address of", name);
    }
    return found;
}

#if defined(__i386__)
/* How far a call of `function` with three null pointer arguments moves the
 * stack pointer once the caller has removed its arguments: 0 for a __cdecl
 * function, 12 for one that removed them itself. Written out in assembly so
 * that the compiler cannot restore the stack pointer in between. */
static int stack_moved_by_call(any_function function, int* result) {
    int moved, answer;
    __asm__ volatile(
        "movl %%esp, %%esi\n\t"
        "pushl $0\n\t"
        "pushl $0\n\t"
        "pushl $0\n\t"
        "call *%2\n\t"
        "addl $12, %%esp\n\t"
        "movl %%esp, %%ecx\n\t"
        "subl %%esi, %%ecx\n\t"
        "movl %%esi, %%esp\n\t"
        : "=c"(moved), "=a"(answer)
        : "b"(function)
        : "edx", "esi", "memory", "cc");
    *result = answer;
    return moved;
}
#endif

int msvc_host_check_dll(void) {
    HMODULE dll = GetModuleHandleA("moxh5.dll");
    any_function exist, last_error;
    int answer, exists = 5;
    const char* error;
    if (!dll) {
        fault("not loaded", "moxh5.dll");
        return 3;
    }
#define MOXH5_LOOK_UP(name) look_up(dll, #name, (any_function)name)
    MOXH5_LOOK_UP(moxh5_abi_version);
    MOXH5_LOOK_UP(moxh5_create);
    MOXH5_LOOK_UP(moxh5_destroy);
    MOXH5_LOOK_UP(moxh5_execute);
    exist = MOXH5_LOOK_UP(moxh5_exist);
    MOXH5_LOOK_UP(moxh5_answer_page);
    MOXH5_LOOK_UP(moxh5_reply);
    MOXH5_LOOK_UP(moxh5_complete);
    MOXH5_LOOK_UP(moxh5_page_closed);
    MOXH5_LOOK_UP(moxh5_set_page_policy);
    MOXH5_LOOK_UP(moxh5_free);
    last_error = MOXH5_LOOK_UP(moxh5_last_error);
#undef MOXH5_LOOK_UP
    if (!exist || !last_error) return 3;

    /* moxh5_exist(NULL, "{}", &exists): a null host is refused, with a text
     * naming the function and the argument, and `exists` left alone. */
    answer = ((exist_function)exist)(NULL, "{}", &exists);
    error = ((last_error_function)last_error)();
    if (answer != MOXH5_ERROR_ARGUMENT || exists != 5 || !error ||
        strcmp(error, "moxh5_exist: host is null")) {
        fault("a call through GetProcAddress was not answered as declared", "moxh5_exist");
    }
#if defined(__i386__)
    {
        int moved = stack_moved_by_call(exist, &answer);
        if (moved != 0 || answer != MOXH5_ERROR_ARGUMENT) {
            fprintf(stderr, "moxh5-msvc-host: moxh5_exist moved the stack by %d (answer %d)\n",
                    moved, answer);
            fault("not __cdecl as moxh5_c.h declares", "moxh5_exist");
        }
    }
#endif
    if (!faults) {
        fprintf(stderr, "moxh5-msvc-host: the 12 C functions are found by their plain names\n");
    }
    return faults ? 3 : 0;
}
