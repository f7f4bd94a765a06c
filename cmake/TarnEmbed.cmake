# Embeds a text file of the source tree into a library as `std::string_view TarnEmbedded::NAME()`,
# regenerated when the file changes. Sets OUTPUT_VAR to the generated source to compile.
function(tarn_embed_text output_var input name)
    set(output "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
    add_custom_command(
        OUTPUT "${output}"
        COMMAND ${CMAKE_COMMAND} -DINPUT=${input} -DOUTPUT=${output} -DNAME=${name}
                -DNAMESPACE=TarnEmbedded -P "${PROJECT_SOURCE_DIR}/cmake/EmbedText.cmake"
        DEPENDS "${input}" "${PROJECT_SOURCE_DIR}/cmake/EmbedText.cmake"
        COMMENT "Embedding ${input}")
    set(${output_var} "${output}" PARENT_SCOPE)
endfunction()
