yes '[[card]]' | head -n 256
