/* The part of <stdio.h> moxh5-c-host uses, for a build without a C runtime
 * (tools/msvc_host/mini_crt.c implements it over kernel32). */
#ifndef MSVC_HOST_STDIO_H
#define MSVC_HOST_STDIO_H

#include <stddef.h>

typedef struct mini_file FILE;
extern FILE* const mini_stdout;
extern FILE* const mini_stderr;
#define stdout mini_stdout
#define stderr mini_stderr

FILE* fopen(const char* path, const char* mode);
int fclose(FILE* file);
char* fgets(char* buffer, int size, FILE* file);
int fflush(FILE* file);
int putchar(int c);
/* Conversions: %d %u %s %c %x, with a zero flag and a width. */
int printf(const char* format, ...);
int fprintf(FILE* file, const char* format, ...);

#endif
