# What `make install` puts where. On Linux the program goes to bin/ and its libraries and bundles
# to lib/kvsync/, where it looks for them; on Windows everything lies beside the program.
include(GNUInstallDirs)
if(WIN32)
    set(KV_LIBRARY_PLACE ${CMAKE_INSTALL_BINDIR})
else()
    set(KV_LIBRARY_PLACE lib/kvsync)
endif()
install(TARGETS kvsync RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS kvtEUD kvUtil
        RUNTIME DESTINATION ${KV_LIBRARY_PLACE}
        LIBRARY DESTINATION ${KV_LIBRARY_PLACE})
# On Linux the module takes Eudora's Simple MAPI library from its own folder, on Windows from
# Eudora's.
if(NOT WIN32)
    install(TARGETS EUMAPI32 LIBRARY DESTINATION ${KV_LIBRARY_PLACE})
endif()
foreach(language IN ITEMS EN DE FR ES IT PT JP)
    install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/kvlEUD${language}.dll
            DESTINATION ${KV_LIBRARY_PLACE})
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/docs/kvsync.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES README.md LICENSE CHANGELOG.md docs/json.md docs/recipes.md docs/writing-a-host.md
              docs/example_host_posix.cpp
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(PROGRAMS docs/kvsync-outbox.sh DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/formats DESTINATION ${CMAKE_INSTALL_DOCDIR})
if(NOT WIN32)
    install(FILES docs/kvsync.service docs/kvsync.timer DESTINATION lib/systemd/user)
    set(completions ${PROJECT_BINARY_DIR}/completions)
    install(FILES ${completions}/kvsync.bash RENAME kvsync
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES ${completions}/kvsync.zsh RENAME _kvsync
            DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    install(FILES ${completions}/kvsync.fish
            DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()

# What a host of one's own is compiled against.
install(DIRECTORY frame/interface DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvtEUD/frame
        FILES_MATCHING PATTERN "*.h")
foreach(header IN ITEMS mfc/collections kvutil/kvutil os/dialogs os/not_copied os/registry
                       os/result)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES platform/${header}.h
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvtEUD/platform/${folder})
endforeach()
if(NOT WIN32)
    configure_file(cmake/kvteud.pc.in ${PROJECT_BINARY_DIR}/kvteud.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/kvteud.pc DESTINATION lib/pkgconfig)
endif()
