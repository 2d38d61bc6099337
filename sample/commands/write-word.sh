#!/bin/sh
# Writes what was typed on the phone as parameter into word.txt in the program's folder.
printf '%s\n' "$*" >word.txt
