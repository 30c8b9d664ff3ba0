# Shows doxygen the headers as they are meant. Comments there are plain text with tables in them: a
# line set in by three blanks is one of a table, and nothing in the others is a command or a tag.
# What is deleted, defaulted or only taken over from a base needs no words.
/= (delete|default);$/d
/^ *using [^=]*;$/d
/^ *\/\/\/   /{
  s/\/\/\//&    /
  b
}
/\/\/\//{
  s/ ([%\#])/ \\\1/g
  /^ *\/\/\/[^<]/s/</\\</g
}
