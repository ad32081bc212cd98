/* The part of <stdlib.h> moxh5-c-host uses (tools/msvc_host/mini_crt.c). */
#ifndef MSVC_HOST_STDLIB_H
#define MSVC_HOST_STDLIB_H

#include <stddef.h>

void* malloc(size_t size);
void free(void* block);
void exit(int status);
int atoi(const char* text);

#endif
