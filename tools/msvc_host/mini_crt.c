/* The C library moxh5-msvc-host needs, over kernel32 alone: the program is
 * compiled by clang for the MSVC target and linked by lld-link without any C
 * runtime (no MSVC runtime or SDK exists on the build machine), so it brings
 * the little of <stdio.h>, <stdlib.h> and <string.h> that tools/c_host/c_host.c
 * calls, and the entry point that parses the command line and calls main.
 *
 * Before main, the entry point runs msvc_host_check_dll() (dll_check.c): the
 * DLL's C functions found by GetProcAddress under their plain names and
 * called with the header's calling convention.
 */
#include <stdarg.h>
#include <stddef.h>

#include "stdio.h"
#include "stdlib.h"
#include "string.h"

/* ------------------------------------------------------------- kernel32 -- */

typedef void* HANDLE;
typedef unsigned long DWORD;
#define STD_OUTPUT_HANDLE ((DWORD)-11)
#define STD_ERROR_HANDLE ((DWORD)-12)
#define INVALID_HANDLE_VALUE ((HANDLE)(ptrdiff_t)-1)
#define GENERIC_READ 0x80000000ul
#define FILE_SHARE_READ 1ul
#define OPEN_EXISTING 3ul

__declspec(dllimport) HANDLE __stdcall GetStdHandle(DWORD which);
__declspec(dllimport) int __stdcall WriteFile(HANDLE file, const void* data, DWORD size,
                                              DWORD* written, void* overlapped);
__declspec(dllimport) int __stdcall ReadFile(HANDLE file, void* data, DWORD size, DWORD* read,
                                             void* overlapped);
__declspec(dllimport) HANDLE __stdcall CreateFileA(const char* path, DWORD access, DWORD share,
                                                   void* security, DWORD disposition,
                                                   DWORD flags, HANDLE template_file);
__declspec(dllimport) int __stdcall CloseHandle(HANDLE handle);
__declspec(dllimport) char* __stdcall GetCommandLineA(void);
__declspec(dllimport) void __stdcall ExitProcess(unsigned code);
__declspec(dllimport) HANDLE __stdcall GetProcessHeap(void);
__declspec(dllimport) void* __stdcall HeapAlloc(HANDLE heap, DWORD flags, size_t size);
__declspec(dllimport) int __stdcall HeapFree(HANDLE heap, DWORD flags, void* block);

/* -------------------------------------------------------------- strings -- */

void* memcpy(void* to, const void* from, size_t size) {
    unsigned char* t = (unsigned char*)to;
    const unsigned char* f = (const unsigned char*)from;
    while (size--) *t++ = *f++;
    return to;
}

void* memset(void* to, int value, size_t size) {
    unsigned char* t = (unsigned char*)to;
    while (size--) *t++ = (unsigned char)value;
    return to;
}

int memcmp(const void* a, const void* b, size_t size) {
    const unsigned char* x = (const unsigned char*)a;
    const unsigned char* y = (const unsigned char*)b;
    for (; size; --size, ++x, ++y) {
        if (*x != *y) return *x < *y ? -1 : 1;
    }
    return 0;
}

size_t strlen(const char* text) {
    const char* end = text;
    while (*end) ++end;
    return (size_t)(end - text);
}

int strcmp(const char* a, const char* b) {
    while (*a && *a == *b) ++a, ++b;
    return (unsigned char)*a - (unsigned char)*b;
}

char* strchr(const char* text, int c) {
    for (;; ++text) {
        if (*text == (char)c) return (char*)text;
        if (!*text) return NULL;
    }
}

char* strcpy(char* to, const char* from) {
    return (char*)memcpy(to, from, strlen(from) + 1);
}

char* strcat(char* to, const char* from) {
    strcpy(to + strlen(to), from);
    return to;
}

char* strncat(char* to, const char* from, size_t most) {
    char* end = to + strlen(to);
    while (most-- && *from) *end++ = *from++;
    *end = '\0';
    return to;
}

int atoi(const char* text) {
    int value = 0, negative = 0;
    while (*text == ' ' || *text == '\t') ++text;
    if (*text == '-' || *text == '+') negative = *text++ == '-';
    while (*text >= '0' && *text <= '9') value = value * 10 + (*text++ - '0');
    return negative ? -value : value;
}

/* --------------------------------------------------------------- memory -- */

void* malloc(size_t size) {
    return HeapAlloc(GetProcessHeap(), 0, size ? size : 1);
}

void free(void* block) {
    if (block) HeapFree(GetProcessHeap(), 0, block);
}

/* ---------------------------------------------------------------- files -- */

struct mini_file {
    HANDLE handle;
    int is_output;
    size_t used; /* output: bytes waiting; input: bytes in `data` */
    size_t at;   /* input: next byte to read */
    char data[4096];
};

static struct mini_file out_file = {NULL, 1, 0, 0, {0}};
static struct mini_file err_file = {NULL, 1, 0, 0, {0}};
FILE* const mini_stdout = &out_file;
FILE* const mini_stderr = &err_file;

static HANDLE handle_of(FILE* file) {
    if (!file->handle) {
        file->handle = GetStdHandle(file == &err_file ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    }
    return file->handle;
}

int fflush(FILE* file) {
    size_t done = 0;
    if (!file->is_output) return 0;
    while (done < file->used) {
        DWORD written = 0;
        if (!WriteFile(handle_of(file), file->data + done, (DWORD)(file->used - done), &written,
                       NULL) ||
            !written) {
            file->used = 0;
            return -1;
        }
        done += written;
    }
    file->used = 0;
    return 0;
}

static void put(FILE* file, char c) {
    if (file->used == sizeof file->data) fflush(file);
    file->data[file->used++] = c;
}

int putchar(int c) {
    put(stdout, (char)c);
    return (unsigned char)c;
}

/* Reading only ("r"): the host reads its transcript. */
FILE* fopen(const char* path, const char* mode) {
    FILE* file;
    HANDLE handle;
    if (mode[0] != 'r') return NULL;
    handle = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING, 0, NULL);
    if (handle == INVALID_HANDLE_VALUE) return NULL;
    file = (FILE*)malloc(sizeof *file);
    if (!file) {
        CloseHandle(handle);
        return NULL;
    }
    memset(file, 0, sizeof *file);
    file->handle = handle;
    return file;
}

int fclose(FILE* file) {
    int ok = CloseHandle(file->handle);
    free(file);
    return ok ? 0 : -1;
}

char* fgets(char* buffer, int size, FILE* file) {
    int length = 0;
    while (length + 1 < size) {
        char c;
        if (file->at == file->used) {
            DWORD read = 0;
            if (!ReadFile(file->handle, file->data, sizeof file->data, &read, NULL) || !read) {
                break;
            }
            file->used = read;
            file->at = 0;
        }
        c = file->data[file->at++];
        buffer[length++] = c;
        if (c == '\n') break;
    }
    if (!length) return NULL;
    buffer[length] = '\0';
    return buffer;
}

/* ------------------------------------------------------------ formatting -- */

static void put_number(FILE* file, unsigned long value, unsigned base, int negative, int width,
                       char pad) {
    char digits[24];
    int count = 0;
    do {
        digits[count++] = "0123456789abcdef"[value % base];
        value /= base;
    } while (value);
    if (negative && pad == '0') put(file, '-');
    for (width -= count + negative; width > 0; --width) put(file, pad);
    if (negative && pad != '0') put(file, '-');
    while (count) put(file, digits[--count]);
}

static void format(FILE* file, const char* text, va_list args) {
    for (; *text; ++text) {
        char pad = ' ';
        int width = 0;
        if (*text != '%') {
            put(file, *text);
            continue;
        }
        if (*++text == '0') pad = '0', ++text;
        while (*text >= '0' && *text <= '9') width = width * 10 + (*text++ - '0');
        switch (*text) {
            case 'd': {
                int value = va_arg(args, int);
                put_number(file,
                           value < 0 ? 0ul - (unsigned long)value : (unsigned long)value, 10,
                           value < 0, width, pad);
                break;
            }
            case 'u':
                put_number(file, va_arg(args, unsigned), 10, 0, width, pad);
                break;
            case 'x':
                put_number(file, va_arg(args, unsigned), 16, 0, width, pad);
                break;
            case 'c':
                put(file, (char)va_arg(args, int));
                break;
            case 's': {
                const char* s = va_arg(args, const char*);
                for (width -= (int)strlen(s); width > 0; --width) put(file, pad);
                while (*s) put(file, *s++);
                break;
            }
            case '%':
                put(file, '%');
                break;
            default: /* not used by the host: shown as written */
                put(file, '%');
                if (!*text) return;
                put(file, *text);
        }
    }
}

int printf(const char* text, ...) {
    va_list args;
    va_start(args, text);
    format(stdout, text, args);
    va_end(args);
    return 0;
}

int fprintf(FILE* file, const char* text, ...) {
    va_list args;
    va_start(args, text);
    format(file, text, args);
    va_end(args);
    if (file == stderr) fflush(file);
    return 0;
}

/* ---------------------------------------------------------------- start -- */

void exit(int status) {
    fflush(stdout);
    fflush(stderr);
    ExitProcess((unsigned)status);
}

int main(int argc, char** argv);
int msvc_host_check_dll(void);

/* The command line split at blanks outside double quotes (the host's
 * arguments are paths; no backslash escapes). Writes into `line`. */
static int split_arguments(char* line, char** argv, int most) {
    int argc = 0;
    for (;;) {
        char* to;
        int quoted = 0;
        while (*line == ' ' || *line == '\t') ++line;
        if (!*line || argc == most) return argc;
        argv[argc++] = to = line;
        for (; *line && (quoted || (*line != ' ' && *line != '\t')); ++line) {
            if (*line == '"') {
                quoted = !quoted;
            } else {
                *to++ = *line;
            }
        }
        if (*line) ++line;
        *to = '\0';
    }
}

void __cdecl msvc_host_entry(void) {
    static char* argv[16];
    const char* command = GetCommandLineA();
    char* line = (char*)malloc(strlen(command) + 1);
    int argc, status;
    if (!line) exit(2);
    argc = split_arguments(strcpy(line, command), argv, 15);
    argv[argc] = NULL;
    status = msvc_host_check_dll();
    if (status == 0) status = main(argc, argv);
    exit(status);
}
