# cmake --install: what users get, beside each other as the programs expect it. scripts/package
# turns the pages into HTML.
install(TARGETS ZoConsole ZoLink ZorbelSim RUNTIME DESTINATION .)
install(FILES packaging/README.md DESTINATION .)
install(FILES docs/guide.md docs/zolink.md docs/protocol.md docs/simulator.md DESTINATION docs)
install(DIRECTORY examples DESTINATION .)
