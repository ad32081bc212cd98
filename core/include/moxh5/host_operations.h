// The catalogue of host operations: every operation of IH5ActionImplCallBack
// that the library asks of the host, with its arguments, what the host answers
// and when the page hears back. It is the one description of them: the C
// interface's translation (each operation one call of the table's `operation`
// callback, its arguments a JSON object), H5ActionDefaults, the reference
// hosts and docs/host-operations.md are all expanded from it, so they cannot
// disagree. A host may expand it too, to build a dispatcher of its own.
//
// MOXH5_HOST_OPERATIONS(OP, ARG, ARGV) expands OP once per operation:
//
//   OP(Name, Shape, (C++ parameters), arguments, "what it does")
//
// `arguments` is a sequence of ARG(name, Type, "meaning") and
// ARGV(name, Type, value, "meaning"): the members of the operation's JSON
// argument object, in order. ARG's value is the parameter `name` itself;
// ARGV's is the expression `value` (of the parameters). Parameters the host
// answers through (`result`, `done`) are not arguments.
//
// Shape: what the host replies and when the page hears back.
//   Accepted     true: done; false or no reply: refused, the page's call
//                fails at once with the method's own failure answer.
//   HostAnswers  as Accepted, but the host answers the page itself, later,
//                under the page's callback id (or "callID") that it is given.
//   Later        the work finishes later. true: the host keeps the token (C)
//                or the completion (C++) and completes it exactly once; false
//                or no reply: the page is answered "failed" at once.
//   Window       always finishes later: the token or completion is the
//                host's whatever it replies.
//   Version      a JSON answer (false or no reply: no version).
//   Text         a string (no reply: "").
//   Nothing      no reply is read.
//
// Type: the argument's JSON type.
//   String, Integer, Boolean, Json (any JSON value), Strings (an array of
//   strings), StringOrNull, Request (the calling page's request record:
//   {"mallcsid", "payload", "isWorker", "webindex", "callbackid",
//   "workerid"}), Page (the page identity: {"isWorker", "webindex",
//   "mallcsid", "callbackid", "workerid"}), EasyWindow (the window's
//   description: {"title", "content", "scene", "frequency": {"interval",
//   "dimensions"}, "left": {"text", "action"}, "right": {...}}).
//
// The page answers (RenderJsCallback, WorkerJsCallback) are not in the
// catalogue: they go to the page, not to an operation.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "moxh5/easy_wnd_param.h"
#include "moxh5/page_callback.h"
#include "moxh5/records.h"

// clang-format off
#define MOXH5_HOST_OPERATIONS(OP, ARG, ARGV)                                                        \
    OP(GetPluginVersion, Version,                                                                  \
       (const std::string& pluginId, Json::Value& result),                                         \
       ARG(pluginId, String, "the plug-in asked about"),                                           \
       "The version answer of a plug-in, handed to the page as it is.")                           \
    OP(RequestFromRenderPage, HostAnswers,                                                         \
       (const mox_h5_module_data* request, const Json::Value& payload, int webindex,               \
        const std::string& callbackid),                                                            \
       ARG(request, Request, "the calling page") ARG(payload, Json, "the page's request")          \
       ARG(webindex, Integer, "the page's webindex")                                               \
       ARG(callbackid, String, "the callback id to answer under"),                                 \
       "A render page's network request; the host answers the page.")                             \
    OP(SendSocketMessage, Accepted,                                                                \
       (const mox_h5_module_data* request, const std::string& uid, const Json::Value& params),     \
       ARG(request, Request, "the calling page") ARG(uid, String, "the buyer")                     \
       ARG(params, Json, "the message"),                                                           \
       "Sends a chat message to a buyer.")                                                        \
    OP(OpenWaitHandleOrder, Accepted, (const std::string& paramsJson),                             \
       ARG(paramsJson, String, "the page's parameters as JSON text"),                              \
       "Opens the orders waiting to be handled.")                                                 \
    OP(OpenGoodsManage, Accepted, (const std::string& paramsJson),                                 \
       ARG(paramsJson, String, "the page's parameters as JSON text"),                              \
       "Opens goods management.")                                                                 \
    OP(PageChange, Accepted, (const std::string& page, const std::string& paramsJson),             \
       ARG(page, String, "the page to show")                                                       \
       ARG(paramsJson, String, "the page's parameters as JSON text"),                              \
       "Switches the client to another page.")                                                    \
    OP(SessionExpired, Accepted, (const mox_h5_module_data* request),                              \
       ARG(request, Request, "the calling page"),                                                  \
       "The page's login session has expired.")                                                   \
    OP(SetAllPasteboard, Accepted, (int webindex),                                                 \
       ARG(webindex, Integer, "the page's webindex"),                                              \
       "Lets the page read every clipboard format.")                                              \
    OP(SendSocketCommand, Accepted,                                                                \
       (const mox_h5_module_data* request, const Json::Value& payload, int64_t requestId),         \
       ARG(request, Request, "the calling page") ARG(payload, Json, "the command")                 \
       ARG(requestId, Integer, "the command's request id"),                                        \
       "Sends a command over the client's socket.")                                               \
    OP(LocateMessage, Accepted, (const mox_h5_module_data* request, const Json::Value& params),    \
       ARG(request, Request, "the calling page") ARG(params, Json, "which message"),               \
       "Scrolls the conversation to a message.")                                                  \
    OP(ViewPicture, Accepted,                                                                      \
       (const mox_h5_module_data* request, const std::string& url, const std::string& uid,         \
        const std::string& msgId),                                                                 \
       ARG(request, Request, "the calling page") ARG(url, String, "the picture")                   \
       ARG(uid, String, "the buyer") ARG(msgId, String, "the message holding it"),                 \
       "Shows a picture.")                                                                        \
    OP(StorePicture, Accepted, (const std::string& url, const char* workerid),                     \
       ARG(url, String, "the picture") ARG(workerid, StringOrNull, "the calling worker"),          \
       "Saves a picture.")                                                                        \
    OP(ViewPictureList, Accepted,                                                                  \
       (const mox_h5_module_data* request, int startIndex, const std::vector<std::string>& urls),  \
       ARG(request, Request, "the calling page") ARG(startIndex, Integer, "the first shown")       \
       ARG(urls, Strings, "the pictures"),                                                         \
       "Shows a list of pictures.")                                                               \
    OP(BatchDownloadPictures, Accepted,                                                            \
       (const mox_h5_module_data* request, const std::string& url, const std::string& uid,         \
        const std::string& msgId),                                                                 \
       ARG(request, Request, "the calling page") ARG(url, String, "the pictures")                  \
       ARG(uid, String, "the buyer") ARG(msgId, String, "the message holding them"),               \
       "Downloads the pictures of a message.")                                                    \
    OP(UpdateQuickReply, Accepted, (const mox_h5_module_data* request),                            \
       ARG(request, Request, "the calling page"), "The quick replies changed.")                    \
    OP(ExportQuickReply, Accepted, (const mox_h5_module_data* request, const char* workerid),      \
       ARG(request, Request, "the calling page")                                                   \
       ARG(workerid, StringOrNull, "the calling worker"),                                          \
       "Exports the quick replies.")                                                              \
    OP(ImportQuickReply, Accepted, (const mox_h5_module_data* request),                            \
       ARG(request, Request, "the calling page"), "Imports quick replies.")                        \
    OP(DownQuickReplyModule, Accepted, (const char* workerid),                                     \
       ARG(workerid, StringOrNull, "the calling worker"),                                          \
       "Downloads the quick-reply template.")                                                     \
    OP(BusinessReport, Accepted, (const mox_h5_module_data* request),                              \
       ARG(request, Request, "the calling page"), "A business report of the page.")                \
    OP(SendVideoShow, Accepted, (), , "Sends the video-show card.")                                \
    OP(SendAddressMsg, Accepted, (const mox_h5_module_data* request, const Json::Value& params),   \
       ARG(request, Request, "the calling page") ARG(params, Json, "the address"),                 \
       "Sends an address message.")                                                               \
    OP(SendFaseReply, Accepted, (const mox_h5_module_data* request, std::string reply),            \
       ARG(request, Request, "the calling page") ARG(reply, String, "the reply text"),             \
       "Sends a quick reply.")                                                                    \
    OP(SendRichContent, Accepted, (const mox_h5_module_data* request, const Json::Value& params),  \
       ARG(request, Request, "the calling page") ARG(params, Json, "the content"),                 \
       "Sends rich content.")                                                                     \
    OP(ShareGoods, Accepted, (const std::string& shareUrl, const std::wstring& goodsName),         \
       ARG(shareUrl, String, "the goods page")                                                     \
       ARGV(goodsName, String, moxh5::platform::WideToUtf8(goodsName), "the goods' name"),         \
       "Shares goods in the conversation.")                                                       \
    OP(GetMallInfo, HostAnswers, (const mox_h5_module_data* request, int webindex, int callId),    \
       ARG(request, Request, "the calling page") ARG(webindex, Integer, "the page's webindex")     \
       ARG(callId, Integer, "the page's callID to answer under"),                                  \
       "The mall's information; the host answers the page.")                                      \
    OP(GetTesselActions, HostAnswers,                                                              \
       (const mox_h5_module_data* request, int webindex, int callId),                              \
       ARG(request, Request, "the calling page") ARG(webindex, Integer, "the page's webindex")     \
       ARG(callId, Integer, "the page's callID to answer under"),                                  \
       "The conversation's actions; the host answers the page.")                                  \
    OP(GetCurrentCustomerInfo, HostAnswers,                                                        \
       (const mox_h5_module_data* request, int webindex, int callId),                              \
       ARG(request, Request, "the calling page") ARG(webindex, Integer, "the page's webindex")     \
       ARG(callId, Integer, "the page's callID to answer under"),                                  \
       "The current buyer's information; the host answers the page.")                             \
    OP(OpenWindow, Accepted, (const Json::Value& params, const mox_h5_module_data* request),       \
       ARG(params, Json, "\"title\", \"url\", \"width\" and \"height\"")                           \
       ARG(request, Request, "the calling page"),                                                  \
       "Opens a window showing a page.")                                                          \
    OP(WorkerOnLoad, Accepted,                                                                     \
       (const mox_h5_module_data* request, std::string pageName, uint32_t reserved),               \
       ARG(request, Request, "the calling page") ARG(pageName, String, "the worker page")          \
       ARG(reserved, Integer, "always 0"),                                                         \
       "A worker page has loaded.")                                                               \
    OP(UpdateMsg, Accepted, (const Json::Value& payload, const mox_h5_module_data* request),       \
       ARG(payload, Json, "the page's payload") ARG(request, Request, "the calling page"),        \
       "Updates a message in the conversation.")                                                  \
    OP(LogisticOrderSelect, HostAnswers,                                                           \
       (const Json::Value& payload, const mox_h5_module_data* request, int webindex, int callId),  \
       ARG(payload, Json, "the page's payload") ARG(request, Request, "the calling page")          \
       ARG(webindex, Integer, "the page's webindex")                                               \
       ARG(callId, Integer, "the page's callID to answer under"),                                  \
       "Lets the merchant pick a logistics order; the host answers the page.")                    \
    OP(SelectFile, Later,                                                                          \
       (const std::string& filter, const MoxPageIdentity& page, MoxPageCallbackFn done),           \
       ARG(filter, String, "the dialog's file filter") ARG(page, Page, "the calling page"),        \
       "A file dialog; answers with the chosen files.")                                           \
    OP(DownloadRemoteFile, Later,                                                                  \
       (const std::string& filePath, const std::string& url, const std::string& cookie,            \
        const MoxPageIdentity& page, MoxPageCallbackFn done),                                      \
       ARG(filePath, String, "where to save (checked by the page policy)")                         \
       ARG(url, String, "what to download (checked by the page policy)")                           \
       ARG(cookie, String, "the request's cookie") ARG(page, Page, "the calling page"),           \
       "Downloads a file.")                                                                       \
    OP(UploadFile, Later,                                                                          \
       (const std::string& url, const std::string& cookie, const std::string& filePath,            \
        const std::string& signName, const std::string& signValue,                                 \
        const std::string& fileDataName, const MoxPageIdentity& page, MoxPageCallbackFn done),     \
       ARG(url, String, "where to upload (checked by the page policy)")                            \
       ARG(cookie, String, "the request's cookie")                                                 \
       ARG(filePath, String, "the file (checked by the page policy)")                              \
       ARG(signName, String, "the signature's form field") ARG(signValue, String, "its value")    \
       ARG(fileDataName, String, "the file's form field") ARG(page, Page, "the calling page"),    \
       "Uploads a file.")                                                                         \
    OP(ShowToast, Nothing, (int kind, const char* text, size_t length, int durationMs),            \
       ARG(kind, Integer, "1 success, 2 failure, 3 neutral")                                       \
       ARGV(text, String, std::string_view(text ? text : "", text ? length : 0), "the text")       \
       ARG(length, Integer, "the text's length in bytes")                                          \
       ARG(durationMs, Integer, "how long to show it"),                                            \
       "Shows a toast.")                                                                          \
    OP(ShowCommonTip, Later,                                                                       \
       (bool isWorker, std::string title, std::string content, std::string leftButtonText,         \
        std::string rightButtonText, MoxTipCompletion done),                                       \
       ARG(isWorker, Boolean, "whether a worker page asks") ARG(title, String, "the title")        \
       ARG(content, String, "the text") ARG(leftButtonText, String, "the left button")            \
       ARG(rightButtonText, String, "the right button"),                                           \
       "A two-button tip; answers with the button chosen.")                                       \
    OP(SaveFile, Later,                                                                            \
       (const std::string& tempFilePath, const MoxPageIdentity& page, MoxPageCallbackFn done),     \
       ARG(tempFilePath, String, "the file to save (checked by the page policy)")                  \
       ARG(page, Page, "the calling page"),                                                        \
       "A save dialog; answers with where the file went.")                                        \
    OP(HttpPost, Later,                                                                            \
       (int kind, const mox_h5_module_data* request, int webindex, const std::string& callbackid, \
        const std::string& extra, MoxPageCallbackFn done, const std::string& url,                  \
        const std::string& content, const std::string& cookie,                                     \
        const std::vector<std::string>& headers),                                                  \
       ARG(kind, Integer, "always 1") ARG(request, Request, "the calling page")                    \
       ARG(webindex, Integer, "the page's webindex") ARG(callbackid, String, "the page's id")     \
       ARG(extra, String, "always empty") ARG(url, String, "checked by the page policy")          \
       ARG(content, String, "the body") ARG(cookie, String, "the cookie")                          \
       ARG(headers, Strings, "\"Name: value\" lines"),                                             \
       "A worker page's HTTP POST; answers with the response.")                                   \
    OP(HttpGet, Later,                                                                             \
       (int kind, const mox_h5_module_data* request, int webindex, const std::string& callbackid, \
        const std::string& extra, MoxPageCallbackFn done, const std::string& url,                  \
        const std::string& content, const std::string& cookie),                                    \
       ARG(kind, Integer, "always 1") ARG(request, Request, "the calling page")                    \
       ARG(webindex, Integer, "the page's webindex") ARG(callbackid, String, "the page's id")     \
       ARG(extra, String, "always empty") ARG(url, String, "checked by the page policy")          \
       ARG(content, String, "the query") ARG(cookie, String, "the cookie"),                        \
       "A worker page's HTTP GET; answers with the response.")                                    \
    OP(CopyImageToClipboard, Nothing, (const std::string& data),                                   \
       ARG(data, String, "the page's image data"), "Puts an image on the clipboard.")              \
    OP(ShowEasyWnd, Window,                                                                        \
       (bool isWorker, const mox_h5_module_data* request, int webindex,                            \
        const std::string& callbackid, MoxPageCallbackFn done, const EasyWndParam& param),         \
       ARG(isWorker, Boolean, "whether a worker page asks")                                        \
       ARG(request, Request, "the calling page") ARG(webindex, Integer, "the page's webindex")     \
       ARG(callbackid, String, "the page's id") ARG(param, EasyWindow, "the window"),             \
       "A small window with two buttons; answers with the button chosen.")                        \
    OP(UpdateShielding, Nothing,                                                                   \
       (const mox_h5_module_data* request, const std::string& currentUid,                          \
        const Json::Value& params),                                                                \
       ARG(request, Request, "the calling page") ARG(currentUid, String, "the current buyer")     \
       ARG(params, Json, "the shielding settings"),                                                \
       "Updates which buyers are shielded.")                                                      \
    OP(AddUserToBlackList, Accepted, (const mox_h5_module_data* request, const std::string& uid),  \
       ARG(request, Request, "the calling page") ARG(uid, String, "the buyer"),                   \
       "Blacklists a buyer in the page's session.")                                               \
    OP(ShowHelpLinkDlg, Accepted,                                                                  \
       (const mox_h5_module_data* request, const std::string& from,                                \
        const std::string& orderSequenceNo),                                                       \
       ARG(request, Request, "the calling page") ARG(from, String, "where the page came from")    \
       ARG(orderSequenceNo, String, "the order (never empty)"),                                    \
       "The help-link dialog of an order.")                                                       \
    OP(ShowHelpBuyModal, Accepted,                                                                 \
       (const mox_h5_module_data* request, const Json::Value& goodsInfo),                          \
       ARG(request, Request, "the calling page") ARG(goodsInfo, Json, "the goods (an object)"),    \
       "The help-buy modal for goods.")                                                           \
    OP(OpenLittleMoney, Accepted,                                                                  \
       (const mox_h5_module_data* request, const std::string& operation,                           \
        const Json::Value& orderGoodsList),                                                        \
       ARG(request, Request, "the calling page")                                                   \
       ARG(operation, String, "\"\", \"gethering\" or \"lookRule\"")                               \
       ARG(orderGoodsList, Json, "an array, null for \"lookRule\""),                               \
       "The small-amount money tool.")                                                            \
    OP(GetClientLinkPrefix, Text, (), ,                                                            \
       "The host's own deep-link prefix (\"<scheme>://<host>/\"); \"\": none.")                    \
    OP(OpenClientLink, Accepted,                                                                   \
       (const mox_h5_module_data* request, const std::string& link, int targetUrlType,             \
        const std::string& msgId),                                                                 \
       ARG(request, Request, "the calling page") ARG(link, String, "the rewritten link")          \
       ARG(targetUrlType, Integer, "the page's targetUrlType")                                     \
       ARG(msgId, String, "the page's msg_id"),                                                    \
       "Opens one of the client's own deep links.")                                               \
    OP(ShareGoodsUrl, Accepted, (const mox_h5_module_data* request, const std::string& goodsUrl),  \
       ARG(request, Request, "the calling page") ARG(goodsUrl, String, "the goods page"),         \
       "Shares a goods page.")                                                                    \
    OP(DownloadFile, Accepted,                                                                     \
       (const mox_h5_module_data* request, const std::string& downloadUrl,                         \
        const std::string& fileName),                                                              \
       ARG(request, Request, "the calling page") ARG(downloadUrl, String, "what to download")     \
       ARG(fileName, String, "the name to save as (\"\": the host picks)"),                        \
       "Downloads a file for the page's account.")                                                \
    OP(OpenNewConversation, Later,                                                                 \
       (const mox_h5_module_data* request, const std::string& orderSn, const std::string& mallId,  \
        const MoxPageIdentity& page, MoxPageCallbackFn done),                                      \
       ARG(request, Request, "the calling page") ARG(orderSn, String, "the order")                \
       ARG(mallId, String, "the mall (\"\": the page's own)") ARG(page, Page, "the calling page"), \
       "Opens a conversation with an order's buyer; answers once it is open or failed.")          \
    OP(UpdateUnreadMessageCount, Accepted,                                                         \
       (const mox_h5_module_data* request, int unreadUrgentMsgCount),                              \
       ARG(request, Request, "the calling page")                                                   \
       ARG(unreadUrgentMsgCount, Integer, "unread urgent messages"),                               \
       "The page's count of unread urgent messages.")                                             \
    OP(MerchantLoadFinished, Accepted, (const mox_h5_module_data* request),                        \
       ARG(request, Request, "the calling page"), "The merchant page has loaded.")                 \
    OP(ReportHttpError, Accepted,                                                                  \
       (const mox_h5_module_data* request, const Json::Value& response),                           \
       ARG(request, Request, "the calling page") ARG(response, Json, "what the page got"),        \
       "A page's HTTP request failed.")                                                           \
    OP(UpdateWindowsKey, Accepted,                                                                 \
       (const mox_h5_module_data* request, const std::string& group, const std::string& key,       \
        bool value),                                                                               \
       ARG(request, Request, "the calling page") ARG(group, String, "the key's group")            \
       ARG(key, String, "the key") ARG(value, Boolean, "its value"),                               \
       "Sets a window key.")                                                                      \
    OP(RemindWorkOrder, Accepted, (const mox_h5_module_data* request, const Json::Value& params),  \
       ARG(request, Request, "the calling page") ARG(params, Json, "the page's object"),          \
       "Reminds the merchant of work orders.")
// clang-format on

// What an operation of each shape returns in C++.
#define MOXH5_OPERATION_RETURNS_Accepted bool
#define MOXH5_OPERATION_RETURNS_HostAnswers bool
#define MOXH5_OPERATION_RETURNS_Later bool
#define MOXH5_OPERATION_RETURNS_Window void
#define MOXH5_OPERATION_RETURNS_Version bool
#define MOXH5_OPERATION_RETURNS_Text std::string
#define MOXH5_OPERATION_RETURNS_Nothing void

namespace moxh5::operation {

// An argument's value as the JSON the C interface hands over, for hosts that
// expand the catalogue into JSON of their own (ARG(name, Type, doc) ->
// args[#name] = moxh5::operation::ToJson(name)).
inline Json::Value ToJson(bool value) { return value; }
template <typename Integer,
          std::enable_if_t<std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>, int> = 0>
Json::Value ToJson(Integer value) {
    if constexpr (std::is_signed_v<Integer>) {
        return Json::Int64(value);
    } else {
        return Json::UInt64(value);
    }
}
inline Json::Value ToJson(std::string_view value) {
    return Json::Value(value.data(), value.data() + value.size());
}
inline Json::Value ToJson(const std::string& value) { return value; }
inline Json::Value ToJson(const Json::Value& value) { return value; }
// A C string: null stays null.
inline Json::Value ToJson(const char* value) { return value ? Json::Value(value) : Json::Value(); }
inline Json::Value ToJson(const std::vector<std::string>& values) {
    Json::Value list(Json::arrayValue);
    for (const std::string& value : values) list.append(value);
    return list;
}
inline Json::Value ToJson(const mox_h5_module_data* request) {
    if (!request) return Json::Value();
    Json::Value out(Json::objectValue);
    out["mallcsid"] = request->mallcsid;
    out["payload"] = request->payload;
    out["isWorker"] = request->isWorker;
    out["webindex"] = request->webindex;
    out["callbackid"] = request->callbackid;
    out["workerid"] = ToJson(request->workerid);
    return out;
}
inline Json::Value ToJson(const MoxPageIdentity& page) {
    Json::Value out(Json::objectValue);
    out["isWorker"] = page.isWorker;
    out["webindex"] = page.webindex;
    out["mallcsid"] = page.mallcsid;
    out["callbackid"] = page.callbackid;
    out["workerid"] = page.workerid;
    return out;
}
inline Json::Value ToJson(const EasyWndParam& param) {
    Json::Value out(Json::objectValue);
    out["title"] = param.title;
    out["content"] = param.content;
    out["scene"] = param.scene;
    out["frequency"]["interval"] = param.frequency.interval;
    out["frequency"]["dimensions"] = param.frequency.dimensions;
    out["left"]["text"] = param.left.text;
    out["left"]["action"] = param.left.action;
    out["right"]["text"] = param.right.text;
    out["right"]["action"] = param.right.action;
    return out;
}

}  // namespace moxh5::operation
