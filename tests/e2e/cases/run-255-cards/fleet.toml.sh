yes '[[card]]' | head -n 255
