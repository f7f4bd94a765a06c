# Warning flags for Tarn's own targets; third-party headers come in as system includes.
function(tarn_target_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow=local)
    if(TARN_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
