/* moxh5-c-host: a host written in C (C89) that plays a transcript through the
 * C interface, as moxh5-play plays it through the C++ one.
 *
 *     moxh5-c-host TRANSCRIPT
 *
 * It understands the transcript lines "host" (members "switches", "results",
 * "mallId", "csId", "currentUid", "currentMallCsId", "clientLinkPrefix",
 * "pagePolicy"),
 * "call", "exist" and "complete", with the player's defaults, and prints the
 * events "result", "exist", "pending" and "page" one per line. The library
 * takes whole JSON texts, so the host never parses a value: it finds the
 * members of a line and passes their text on as it stands.
 *
 * Exit status: 0 when every line was played, 1 when a line was not
 * understood or a call failed, 2 when the transcript cannot be read.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "moxh5/moxh5_c.h"

#define MAX_LINE 65536
#define MAX_PENDING 64

/* A piece of a line: the text of one JSON value. */
typedef struct {
    const char* at;
    size_t length;
} span;

/* ------------------------------------------------------------ scanning -- */

static span nothing(void) {
    span s;
    s.at = "";
    s.length = 0;
    return s;
}

static const char* skip_space(const char* p) {
    while (*p == ' ' || *p == '\t' || *p == '\r' || *p == '\n') ++p;
    return p;
}

static const char* skip_string(const char* p) {
    for (++p; *p && *p != '"'; ++p) {
        if (*p == '\\' && p[1]) ++p;
    }
    return *p == '"' ? p + 1 : NULL;
}

/* The end of the JSON value that starts at p, or NULL. */
static const char* skip_value(const char* p) {
    int depth = 0;
    do {
        if (*p == '"') {
            p = skip_string(p);
            if (!p) return NULL;
            continue;
        }
        if (*p == '{' || *p == '[') {
            ++depth;
        } else if (*p == '}' || *p == ']') {
            if (--depth < 0) return NULL;
        } else if (depth == 0) {
            /* A number or a literal ends at a delimiter. */
            while (*p && !strchr(",}] \t\r\n", *p)) ++p;
            return p;
        } else if (!*p) {
            return NULL;
        }
        ++p;
    } while (depth > 0);
    return p;
}

/* Calls visit(context, key, value) for each member of the object at `object`;
 * returns 0 when the text is not an object. Keys are compared as written. */
typedef void (*member_visitor)(void* context, span key, span value);
static int each_member(span object, member_visitor visit, void* context) {
    const char* p = skip_space(object.at);
    if (*p != '{') return 0;
    p = skip_space(p + 1);
    if (*p == '}') return 1;
    for (;;) {
        span key, value;
        const char* end;
        if (*p != '"' || !(end = skip_string(p))) return 0;
        key.at = p + 1;
        key.length = (size_t)(end - p - 2);
        p = skip_space(end);
        if (*p != ':') return 0;
        p = skip_space(p + 1);
        if (!(end = skip_value(p))) return 0;
        value.at = p;
        value.length = (size_t)(end - p);
        visit(context, key, value);
        p = skip_space(end);
        if (*p == '}') return 1;
        if (*p != ',') return 0;
        p = skip_space(p + 1);
    }
}

typedef struct {
    const char* name;
    span found;
} member_search;

static void match_member(void* context, span key, span value) {
    member_search* search = (member_search*)context;
    if (strlen(search->name) == key.length && !memcmp(search->name, key.at, key.length)) {
        search->found = value;
    }
}

/* The member `name` of `object`; its length is 0 when absent. */
static span member(span object, const char* name) {
    member_search search;
    search.name = name;
    search.found = nothing();
    each_member(object, match_member, &search);
    return search.found;
}

static span whole(const char* text) {
    span s;
    s.at = text;
    s.length = strlen(text);
    return s;
}

static int is(span s, const char* text) {
    return s.length == strlen(text) && !memcmp(s.at, text, s.length);
}

/* A copy of the span, NUL-terminated; `fallback` when the span is empty. */
static char* copy_of(span s, const char* fallback) {
    char* copy;
    if (s.length == 0) s = whole(fallback);
    copy = (char*)malloc(s.length + 1);
    if (!copy) exit(2);
    memcpy(copy, s.at, s.length);
    copy[s.length] = '\0';
    return copy;
}

/* ---------------------------------------------------------------- host -- */

typedef struct {
    char* settings[16]; /* the "host" lines so far, latest last */
    int settings_count;
    moxh5_token* pending[MAX_PENDING];
    int pending_count;
} host_state;

/* The latest setting `name`, as JSON text (length 0 when never given). */
static span setting(const host_state* state, const char* name) {
    int i;
    for (i = state->settings_count - 1; i >= 0; --i) {
        span value = member(whole(state->settings[i]), name);
        if (value.length) return value;
    }
    return nothing();
}

/* The latest value of `key` in the object setting `name` ("switches",
 * "results"): later host lines add to earlier ones. */
static span keyed_setting(const host_state* state, const char* name, const char* key) {
    int i;
    for (i = state->settings_count - 1; i >= 0; --i) {
        span value = member(member(whole(state->settings[i]), name), key);
        if (value.length) return value;
    }
    return nothing();
}

/* A value by session: a string for every session, or an object by mallcsid. */
static span session_value(span value, const char* mallcsid) {
    char key[512];
    if (value.length && *value.at == '{') {
        if (strlen(mallcsid) >= sizeof key) return nothing();
        strcpy(key, mallcsid);
        return member(value, key);
    }
    return value;
}

static void reply_span(moxh5_reply_slot* reply, span value) {
    char* text = copy_of(value, "null");
    moxh5_reply(reply, text);
    free(text);
}

static void MOXH5_CALL on_operation(void* user, const char* operation, const char* args_json,
                                    moxh5_token* token, moxh5_reply_slot* reply) {
    host_state* state = (host_state*)user;
    span result = keyed_setting(state, "results", operation);
    int accepted = !is(result, "false");
    (void)args_json;
    if (!strcmp(operation, "GetClientLinkPrefix")) {
        reply_span(reply, setting(state, "clientLinkPrefix"));
        return;
    }
    if (!strcmp(operation, "GetPluginVersion")) {
        reply_span(reply, setting(state, "pluginVersion"));
        return;
    }
    moxh5_reply(reply, accepted ? "true" : "false");
    if (token && accepted && state->pending_count < MAX_PENDING) {
        state->pending[state->pending_count++] = token;
        printf("{\"event\":\"pending\",\"number\":%d,\"op\":\"%s\"}\n", state->pending_count,
               operation);
    }
}

static void MOXH5_CALL on_user_value(void* user, const char* name, const char* mallcsid,
                                     moxh5_reply_slot* reply) {
    host_state* state = (host_state*)user;
    const char* setting_name = !strcmp(name, "GetMallId")       ? "mallId"
                               : !strcmp(name, "GetCsId")       ? "csId"
                               : !strcmp(name, "GetCurrentUid") ? "currentUid"
                                                                : "currentMallCsId";
    span value = session_value(setting(state, setting_name), mallcsid);
    if (value.length) reply_span(reply, value);
}

static int MOXH5_CALL on_switch(void* user, const char* key, const char* mallcsid,
                                const char* default_json) {
    (void)mallcsid;
    (void)default_json;
    return is(keyed_setting((host_state*)user, "switches", key), "true");
}

/* A JSON string of plain text. */
static void print_string(const char* text) {
    putchar('"');
    for (; *text; ++text) {
        unsigned char c = (unsigned char)*text;
        if (c == '"' || c == '\\') {
            printf("\\%c", c);
        } else if (c < 0x20) {
            printf("\\u%04x", c);
        } else {
            putchar(c);
        }
    }
    putchar('"');
}

/* The envelope text on one line: the library's text may be indented, and JSON
 * strings hold no raw line breaks or tabs. */
static void print_flat(const char* json) {
    for (; *json; ++json) {
        if (*json != '\n' && *json != '\t' && *json != '\r') putchar(*json);
    }
}

static void MOXH5_CALL on_page_answer(void* user, int is_worker, const char* mallcsid, int webindex,
                                      const char* callback_id, const char* data_json) {
    (void)user;
    printf("{%s", is_worker ? "\"callbackid\":" : "\"callId\":");
    print_string(callback_id);
    printf(",\"envelope\":");
    print_flat(data_json);
    printf(",\"event\":\"page\",\"mallcsid\":");
    print_string(mallcsid);
    printf(",\"page\":\"%s\",\"webindex\":%d}\n", is_worker ? "worker" : "render", webindex);
}

/* ---------------------------------------------------------------- lines -- */

/* A request text from a "call" or "exist" line, with the player's defaults. */
static char* request_of(span line, span payload) {
    static const char* const names[] = {"mallcsid", "isWorker", "webindex", "callbackid",
                                        "workerid"};
    static const char* const defaults[] = {"\"mall-1|cs-1\"", "false", "0", "\"\"", "null"};
    size_t size = payload.length + 64, i;
    char* text;
    for (i = 0; i < 5; ++i) size += member(line, names[i]).length + strlen(defaults[i]) + 16;
    text = (char*)malloc(size);
    if (!text) exit(2);
    strcpy(text, "{\"payload\":");
    strncat(text, payload.at, payload.length);
    for (i = 0; i < 5; ++i) {
        span value = member(line, names[i]);
        if (!value.length) value = whole(defaults[i]);
        strcat(text, ",\"");
        strcat(text, names[i]);
        strcat(text, "\":");
        strncat(text, value.at, value.length);
    }
    strcat(text, "}");
    return text;
}

static int play_call(moxh5_host* host, span line, int number) {
    span payload = member(line, "payload");
    char* module = copy_of(member(line, "module"), "\"\"");
    char* request = request_of(line, payload.length ? payload : whole("{}"));
    char* answer = NULL;
    unsigned outcome = 0;
    int status;
    module[strlen(module) - 1] = '\0'; /* module names hold no escapes */
    status = moxh5_execute(host, module + 1, request, &outcome, &answer);
    if (status == MOXH5_OK) {
        printf(
            "{\"answer\":%s,\"event\":\"result\",\"handled\":%s,\"line\":%d,\"module\":\"%s\","
            "\"registered\":%s}\n",
            answer, outcome & MOXH5_HANDLED ? "true" : "false", number, module + 1,
            outcome & MOXH5_REGISTERED ? "true" : "false");
        /* As a host does after every call: the library decides from the
         * answer's flags whether the page hears anything now. */
        if (outcome & MOXH5_REGISTERED) {
            status = moxh5_answer_page(host, request, (outcome & MOXH5_HANDLED) != 0, answer);
        }
    }
    moxh5_free(answer);
    free(request);
    free(module);
    return status == MOXH5_OK;
}

static int play_exist(moxh5_host* host, span line, int number) {
    span name = member(line, "name");
    char* payload;
    char* request;
    int exists = 0, status;
    if (name.length) {
        payload = (char*)malloc(name.length + 64);
        if (!payload) exit(2);
        strcpy(payload, "{\"method\":\"canIUse\",\"params\":{\"name\":");
        strncat(payload, name.at, name.length);
        strcat(payload, "}}");
    } else {
        payload = copy_of(member(line, "payload"), "{}");
    }
    request = request_of(whole("{}"), whole(payload));
    status = moxh5_exist(host, request, &exists);
    if (status == MOXH5_OK) {
        printf("{\"answer\":%s,\"event\":\"exist\",\"line\":%d}\n", exists ? "true" : "false",
               number);
    }
    free(request);
    free(payload);
    return status == MOXH5_OK;
}

static int play_complete(host_state* state, span line) {
    int number = atoi(member(line, "pending").at); /* the digits end at a delimiter */
    span success = member(line, "success");
    span answer = member(line, "answer");
    char* result;
    int status;
    if (number < 1 || number > state->pending_count || !state->pending[number - 1]) return 0;
    result = (char*)malloc(success.length + answer.length + 64);
    if (!result) exit(2);
    strcpy(result, "{\"success\":");
    strncat(result, success.length ? success.at : "true", success.length ? success.length : 4);
    strcat(result, ",\"answer\":");
    strncat(result, answer.length ? answer.at : "{}", answer.length ? answer.length : 2);
    strcat(result, "}");
    status = moxh5_complete(state->pending[number - 1], result);
    state->pending[number - 1] = NULL;
    free(result);
    return status == MOXH5_OK;
}

/* A "pagePolicy" goes to the library as it stands. */
static int set_policy(moxh5_host* host, span policy) {
    char* text = copy_of(policy, "{}");
    int status = moxh5_set_page_policy(host, text);
    free(text);
    return status == MOXH5_OK;
}

static int play_line(moxh5_host* host, host_state* state, const char* text, int number) {
    span line = whole(text);
    span kind = member(line, "do");
    if (is(kind, "\"host\"") && state->settings_count < 16) {
        span policy = member(line, "pagePolicy");
        state->settings[state->settings_count++] = copy_of(line, "{}");
        return !policy.length || set_policy(host, policy);
    }
    if (is(kind, "\"call\"")) return play_call(host, line, number);
    if (is(kind, "\"exist\"")) return play_exist(host, line, number);
    if (is(kind, "\"complete\"")) return play_complete(state, line);
    return 0;
}

int main(int argc, char** argv) {
    static char text[MAX_LINE];
    static host_state state;
    moxh5_host_table table;
    moxh5_host* host = NULL;
    FILE* input;
    int number = 0, failures = 0;

    if (argc != 2 || !(input = fopen(argv[1], "r"))) {
        fprintf(stderr, "usage: moxh5-c-host TRANSCRIPT\n");
        return 2;
    }
    if (moxh5_abi_version() != MOXH5_C_ABI_VERSION) {
        fprintf(stderr, "moxh5-c-host: the library has another C interface\n");
        return 2;
    }
    memset(&table, 0, sizeof table);
    table.size = sizeof table;
    table.user = &state;
    table.operation = on_operation;
    table.page_answer = on_page_answer;
    table.user_value = on_user_value;
    table.config_switch = on_switch;
    if (moxh5_create(&table, &host) != MOXH5_OK) return 2;

    while (fgets(text, sizeof text, input)) {
        const char* start = skip_space(text);
        ++number;
        if (!*start || *start == '#') continue;
        if (!play_line(host, &state, start, number)) {
            fprintf(stderr, "moxh5-c-host: line %d was not played\n", number);
            ++failures;
        }
        fflush(stdout);
    }
    fclose(input);
    moxh5_destroy(host);
    return failures ? 1 : 0;
}
