int planted(long wide);
int planted(long wide) {
  int narrow = wide;
  return narrow;
}
