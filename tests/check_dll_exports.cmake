# Checks that moxh5.dll exports the manager's entry points.
# Usage: cmake -DOBJDUMP=<objdump> -DDLL=<moxh5.dll> -P check_dll_exports.cmake
execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE table RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "objdump failed on ${DLL}")
endif()
# Mangled names of the exported surface (GCC's Itanium mangling).
set(required
    "_ZN10CSingletonI16MoxModuleManagerE11GetInstanceEv"   # CSingleton<MoxModuleManager>::GetInstance
    "_ZN16MoxModuleManager11GetInstanceEv"
    "_ZN16MoxModuleManager4Init"
    "_ZN16MoxModuleManager11SetCallbackEP21IH5ActionImplCallBack"
    "_ZN16MoxModuleManager6CreateEv"
    "_ZN16MoxModuleManager7Execute"
    "_ZN16MoxModuleManager5ExistERK18mox_h5_module_data"
    "_ZN16MoxModuleManager8RegisterERK17mox_source_info_t"
    "_Z17callBackToWebPage"
)
foreach(symbol IN LISTS required)
    string(FIND "${table}" "${symbol}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "moxh5.dll does not export ${symbol}")
    endif()
endforeach()
message(STATUS "moxh5.dll exports the manager's entry points")
