/* The part of <string.h> moxh5-c-host uses (tools/msvc_host/mini_crt.c). */
#ifndef MSVC_HOST_STRING_H
#define MSVC_HOST_STRING_H

#include <stddef.h>

void* memcpy(void* to, const void* from, size_t size);
void* memset(void* to, int value, size_t size);
int memcmp(const void* a, const void* b, size_t size);
size_t strlen(const char* text);
int strcmp(const char* a, const char* b);
char* strchr(const char* text, int c);
char* strcpy(char* to, const char* from);
char* strcat(char* to, const char* from);
char* strncat(char* to, const char* from, size_t most);

#endif
